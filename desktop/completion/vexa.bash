# bash completion for vexa. Options are read from the program's own help.

_vexa() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} pattern=""
    COMPREPLY=()
    case $previous in
        --profile) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
        --plugin) pattern="*.so" ;;
        --language | --without) return ;;
        *)
            if [[ $current == -* ]]; then
                # The help needs no display.
                local options
                options=$("${COMP_WORDS[0]/#\~/$HOME}" --help 2>/dev/null | sed -n 's/^  .*\(--[a-z-]*\).*/\1/p')
                mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
                return
            fi
            pattern="*.@(opml|xml|rss)"
            ;;
    esac
    compopt -o filenames 2>/dev/null
    local wasExtended
    wasExtended=$(shopt -p extglob)
    shopt -s extglob
    mapfile -t COMPREPLY < <(compgen -d -- "$current"; compgen -f -X "!$pattern" -- "$current")
    $wasExtended
}
complete -F _vexa vexa
