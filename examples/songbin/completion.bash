# Completion of songbin for bash.

_songbin() {
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} IFS=$'\n'
    COMPREPLY=()
    if [ "$COMP_CWORD" = 1 ]; then
        COMPREPLY=($(compgen -W $'demo\nput\nlist\nrestore\ninfo\nrelative\nabsolute\nopen\nhelp' -- "$word"))
        return
    fi
    case $command:$word in
        list:-*) COMPREPLY=($(compgen -W $'--json\n--names' -- "$word")) ;;
        info:-*) COMPREPLY=($(compgen -W '--json' -- "$word")) ;;
        restore:*)
            local name quote=${word%%[!\"\']*} typed=${word//[\\\"\']/}
            for name in $("${COMP_WORDS[0]}" list --names 2>/dev/null); do
                [[ $name == "$typed"* ]] || continue
                [ -n "$quote" ] || name=$(printf %q "$name")
                COMPREPLY+=("$quote$name$quote")
            done
            ;;
        demo:*)
            compopt -o filenames
            COMPREPLY=($(compgen -d -- "$word"))
            ;;
        list:* | help:*) ;;
        *)
            compopt -o filenames
            COMPREPLY=($(compgen -f -- "$word"))
            ;;
    esac
}

complete -F _songbin songbin
