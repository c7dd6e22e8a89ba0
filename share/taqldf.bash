# Completion of taqldf for bash: the options of a subcommand are those that its help names.
_taqldf() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words=
    local root=${TAQ_LDF:-/var/taqsvc}/ldf
    case $previous in
    --format | =)
        [ "${COMP_WORDS[1]}" = show ] && words="line taqmsg verbose" || words="jsonl csv journal otlp" ;;
    -p | --severity) words="critical error warning notice info ..error ..warning" ;;
    --object-type) words="QEN HMX CLU GRP SYS AGT RES" ;;
    -S | --since | -U | --until) words="today yesterday -1h -1d" ;;
    *)
        if [ "$COMP_CWORD" -eq 1 ]; then
            words="show export --help --version"
        elif [[ $current == -* ]]; then
            words=$(taqldf "${COMP_WORDS[1]}" --help 2>/dev/null | grep -oE -e '--[a-z-]+' | sort -u)
        else
            words=$(cd "$root" 2>/dev/null && printf '%s\n' *_[ABC].ldf | sed 's/_[ABC]\.ldf$//' | sort -u)
        fi ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    [[ $current == */* || ${#COMPREPLY[@]} -eq 0 ]] && mapfile -t COMPREPLY < <(compgen -f -- "$current")
}
complete -o filenames -F _taqldf taqldf
