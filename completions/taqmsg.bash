# Completion of taqmsg for bash: options, their values, and the names of log data files.
_taqmsg_languages() {
    local folder
    for folder in "${TAQ_MESSAGES_DIR:-/opt/KAVO}"/messages/*/; do
        folder=${folder%/}
        [ -e "$folder/KORE.bmcmap" ] && printf '%s\n' "${folder##*/}"
    done
}

_taqmsg_files() {
    local i folder=${TAQ_LDF:-/var/taqsvc}/ldf file
    for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do
        [ "${COMP_WORDS[i]}" = -path ] && folder=${COMP_WORDS[i + 1]}
    done
    for file in "$folder"/*.ldf; do
        [ -e "$file" ] && file=${file##*/} && printf '%s\n' "${file%.ldf}"
    done
}

_taqmsg() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} choices
    case $before in
    -path) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    -sev) choices="C E W N I" ;;
    -otype) choices="QEN HMX CLU GRP SYS AGT RES XLK" ;;
    -lang) choices=$(_taqmsg_languages) ;;
    -oname | -msgid | -category) return ;;
    *)
        case $word in
        -*) choices="-info -tail -list -path -help -oname -otype -sev -category -msgid -any -lang -dbg -trace" ;;
        *) choices=$(_taqmsg_files) ;;
        esac ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}
complete -F _taqmsg taqmsg
