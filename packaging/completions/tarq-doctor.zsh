#compdef tarq-doctor

_arguments \
    '(- *)'{--help,-h}'[print the options]' \
    '(- *)--json[print the findings as JSON]' \
    '(- *)--setup[set Tarq up for this desktop]' \
    '(- *)--undo[take back what --setup writes]' \
    '(- *)--version[print the version]'
