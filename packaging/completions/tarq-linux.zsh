#compdef tarq-linux

_arguments \
    '(- *)'{--help,-h}'[print the help text]' \
    '(- *)--toggle[start or end a recording in the running Tarq]' \
    '(- *)--session-smoke[print the type of the session]' \
    '(- *)--amplitude-smoke[try the amplitude processor]::level from 0.0 to 1.0: ' \
    '(- *)--recording-wave-smoke[try the wave of the bubble]::milliseconds: ' \
    '(- *)--audio-smoke[record from the microphone]::milliseconds: '
