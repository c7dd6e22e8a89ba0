# Completion of taqgencat for bash: options, languages and categories, and files.
_taqgencat_root() {
    local i root=${TAQ_MESSAGES_DIR:-/opt/KAVO}
    for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do
        [ "${COMP_WORDS[i]}" = --out ] && root=${COMP_WORDS[i + 1]}
    done
    printf '%s\n' "$root"
}

_taqgencat() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} choices root
    root=$(_taqgencat_root)
    case $before in
    --lang) choices=$(cd "$root/messages" 2>/dev/null && printf '%s\n' */ | tr -d /) ;;
    --module) choices=KORE ;;
    --add | --remove) choices=$(sed -n 's/^[0-9]* //p' "$root"/messages/*/*.owners 2>/dev/null | sort -u) ;;
    --namespace | --category) return ;;
    --out) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    *)
        case $word in
        -*) choices="--add --remove --header --namespace --category --module --lang --out --list --journal-catalog --check --reference
                     --fill-from --help --version" ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
        esac ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}
complete -o filenames -F _taqgencat taqgencat
