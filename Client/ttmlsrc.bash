# Bash completion for ttmlsrc.

_ttmlsrc()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "broadband --help --version" -- "$current")
        return
    fi

    case $previous in
    --url | --media)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --out)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --dnt)
        mapfile -t COMPREPLY < <(compgen -W "0 1 2" -- "$current")
        return
        ;;
    --track | --speed | --descriptor | --user-agent | --script | --duration)
        return
        ;;
    esac

    case ${COMP_WORDS[1]} in
    broadband)
        mapfile -t COMPREPLY < <(compgen -W "--url --media --track --speed --fast --dnt --descriptor \
            --user-agent --json --out --script --duration --help" -- "$current")
        ;;
    esac
}

complete -F _ttmlsrc ttmlsrc
