# Bash completion for ttmlsrc.

# Options where the word begins like one, else the files that an input may be.
_ttmlsrc_options_or_files()
{
    if [[ $2 == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$2")
    fi
}

# What follows "settings": the word, then a key that has a value, then a value.
_ttmlsrc_settings()
{
    local words=
    case $COMP_CWORD:${COMP_WORDS[2]} in
    2:*) words="list get set --help" ;;
    3:get | 3:set) words=$("${COMP_WORDS[0]}" settings list 2>/dev/null | cut -d ' ' -f 1) ;;
    4:set) words="on off" ;;
    esac
    if [[ $2 == --type ]]; then
        words="int bool"
    elif [[ $1 == -* ]]; then
        case ${COMP_WORDS[2]} in
        list | get) words="--json --help" ;;
        set) words="--type --help" ;;
        *) words="--help" ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$1")
}

_ttmlsrc()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "broadband dvb atsc3 info settings --help --version" -- "$current")
        return
    fi

    case $previous in
    --url | --media | --also)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --region)
        mapfile -t COMPREPLY < <(compgen -W "korea" -- "$current")
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
    --track | --speed | --descriptor | --user-agent | --script | --duration | --service | --lang)
        return
        ;;
    esac

    case ${COMP_WORDS[1]} in
    broadband)
        mapfile -t COMPREPLY < <(compgen -W "--url --media --track --speed --fast --dnt --descriptor \
            --user-agent --json --out --script --duration --help" -- "$current")
        ;;
    dvb)
        _ttmlsrc_options_or_files "--service --lang --pvr --speed --fast --user-agent --json --out --script \
            --duration --help" "$current"
        ;;
    atsc3)
        _ttmlsrc_options_or_files "--also --lang --pvr --region --speed --fast --user-agent --json --out \
            --script --duration --help" "$current"
        ;;
    info)
        _ttmlsrc_options_or_files "--json --help" "$current"
        ;;
    settings)
        _ttmlsrc_settings "$current" "$previous"
        ;;
    esac
}

complete -F _ttmlsrc ttmlsrc
