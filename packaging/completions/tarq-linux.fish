complete -c tarq-linux -f
complete -c tarq-linux -n __fish_is_first_arg -s h -l help -d 'Print the help text'
complete -c tarq-linux -n __fish_is_first_arg -l toggle -d 'Start or end a recording in the running Tarq'
complete -c tarq-linux -n __fish_is_first_arg -l session-smoke -d 'Print the type of the session'
complete -c tarq-linux -n __fish_is_first_arg -l amplitude-smoke -d 'Try the amplitude processor, with a level from 0.0 to 1.0'
complete -c tarq-linux -n __fish_is_first_arg -l recording-wave-smoke -d 'Try the wave of the bubble, for so many milliseconds'
complete -c tarq-linux -n __fish_is_first_arg -l audio-smoke -d 'Record from the microphone, for so many milliseconds'
