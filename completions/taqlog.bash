# Completion of taqlog for bash: options, their words, and the names of logs.
_taqlog() {
    local word=${COMP_WORDS[COMP_CWORD]} choices='' file
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -s | --severity) choices="critical error warning notice info" ;;
    -o | --object-type) choices="QEN SYS GRP RES AGT" ;;
    -n | --name)
        for file in "${TAQ_LDF:-/var/taqsvc}"/ldf/*_[ABC].ldf; do
            [ -e "$file" ] && file=${file##*/} && choices+=" ${file%_[ABC].ldf}"
        done ;;
    -c | --category | -m | --message | -t | --text) return ;;
    *) [[ $word == -* ]] && choices="--name --severity --object-type --category --message --text --help --version" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word" | sort -u)
}
complete -F _taqlog taqlog
