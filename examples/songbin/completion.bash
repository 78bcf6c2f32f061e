# Completion of songbin for bash.

_songbin_among() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}"); }

_songbin_paths() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

# Names with blanks and quotes come out as the shell wants them, in the kind of quotes that was begun.
_songbin_items() {
    local name word=${COMP_WORDS[COMP_CWORD]}
    local quote=${word%%[!\"\']*} typed=${word//[\\\"\']/}
    while IFS= read -r -d '' name; do
        [[ $name == "$typed"* ]] || continue
        [ -n "$quote" ] || name=$(printf %q "$name")
        COMPREPLY+=("$quote$name$quote")
    done < <("${COMP_WORDS[0]}" list --null 2>/dev/null)
}

_songbin() {
    COMPREPLY=()
    if [ "$COMP_CWORD" = 1 ]; then
        _songbin_among "demo put list restore info relative absolute open help"
        return
    fi
    case ${COMP_WORDS[1]}:${COMP_WORDS[COMP_CWORD]} in
        list:-*) _songbin_among "--json --names --null" ;;
        info:-*) _songbin_among "--json" ;;
        list:* | help:*) ;;
        restore:*) _songbin_items ;;
        demo:*) _songbin_paths -d ;;
        *) _songbin_paths -f ;;
    esac
}

complete -F _songbin songbin
