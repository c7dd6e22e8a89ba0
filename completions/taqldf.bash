# Completion of taqldf for bash. Subcommands, options and their words are those that its help names.
_taqldf_choices() { # SUBCOMMAND OPTION: the words that the option takes
    taqldf "$1" --help 2>/dev/null |
        sed -nE "/^ *(-., )?$2[ =[]/{ s/^ *(-., )?--[a-z-]+//
            /^\[?=[a-z]+\|/{ s/^\[?=([a-z|]*).*/\1/; s/\|/ /g; p; q }
            s/^[^ ]* +//; s/ *\([^)]*\)//g; s/, | or / /g; p; q }"
}

_taqldf() {
    local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} sub=${COMP_WORDS[1]} words='' file
    local root=${TAQ_LDF:-/var/taqsvc}/ldf
    [ "$current" = = ] && current=
    [ "$option" = = ] && option=${COMP_WORDS[COMP_CWORD - 2]} # the shell makes words of --format = csv
    case $COMP_CWORD:$option in
    1:*) words="$(taqldf --help 2>/dev/null | sed -nE 's/^  ([a-z]+) .*/\1/p') --help --version" ;;
    *:--format | *:--object-type | *:--color | *:--subsecond) words=$(_taqldf_choices "$sub" "$option") ;;
    *:-p | *:--severity) words="critical error warning notice info ..error ..warning" ;;
    *:-S | *:--since | *:-U | *:--until) words="today yesterday -1h -1d" ;;
    *:--lang)
        for file in "${TAQ_MESSAGES_DIR:-/opt/KAVO}"/messages/*/KORE.bmcmap; do
            [ -e "$file" ] && file=${file%/*} && words+=" ${file##*/}"
        done ;;
    *:--id | *:--category | *:--object | *:--source | *:-g | *:--grep | *:-n | *:--lines | *:--host) return ;;
    *:-o | *:--output | *:--report) ;;
    *)
        if [[ $current == -* ]]; then
            words=$(taqldf "$sub" --help 2>/dev/null | grep -oE -e '^ *(-., )?--[a-z-]+' | grep -oE -e '--[a-z-]+')
        else
            for file in "$root"/*_[ABC].ldf; do
                [ -e "$file" ] && file=${file##*/} && words+=" ${file%_[ABC].ldf}"
            done
        fi ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current" | sort -u)
    [[ $current == */* || -z $words ]] && mapfile -t COMPREPLY < <(compgen -f -- "$current")
}
complete -o filenames -F _taqldf taqldf
