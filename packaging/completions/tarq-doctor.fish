complete -c tarq-doctor -f
complete -c tarq-doctor -n __fish_is_first_arg -s h -l help -d 'Print the options'
complete -c tarq-doctor -n __fish_is_first_arg -l json -d 'Print the findings as JSON'
complete -c tarq-doctor -n __fish_is_first_arg -l setup -d 'Set Tarq up for this desktop'
complete -c tarq-doctor -n __fish_is_first_arg -l undo -d 'Take back what --setup writes'
complete -c tarq-doctor -n __fish_is_first_arg -l version -d 'Print the version'
