# bash completion for podcasts. Commands, options and operands are read from the program's own help.

# Prints the words for an operand, or an option's value, of that kind, one per line. The other arguments are the program
# and the option that selects the profile.
_podcasts_values() {
    local kind=$1
    shift
    case $kind in
        FEED) "$@" feeds | sed -n '2,$ s/^ *\([0-9]*\) .*/\1/p' ;;
        KEY) "$@" episodes --limit 200 | sed 's/ .*//' ;;
        STATE) printf '%s\n' listened new postponed ;;
        NAME) "$@" options | sed 's/=.*//' ;;
        PROGRAM) "$@" import --help | sed -n 's/^Programs: //p' | tr -s ', ' '\n' ;;
        OPTION) "$@" feed-options --help | sed -n 's/^Options: //p' | tr -s ', ' '\n' ;;
    esac 2>/dev/null
}

# Completes file names: folders, and files that match a pattern.
_podcasts_files() {
    compgen -d -- "$2"
    [[ $1 ]] && compgen -f -X "!$1" -- "$2"
}

_podcasts() {
    COMPREPLY=()
    # Readline also splits words at ":" and "=", which occur in keys and in options with values.
    local line=${COMP_LINE:0:COMP_POINT} words
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    local last=$((${#words[@]} - 1)) current=${words[-1]} i

    # The command is the first word that is neither an option nor the profile's folder.
    local program=("${words[0]/#\~/$HOME}") command="" first=$last
    for ((i = 1; i < last && first == last; ++i)); do
        case ${words[i]} in
            --profile) ((++i)) ;;
            -*) ;;
            *) command=${words[i]} first=$i ;;
        esac
    done
    local help valued
    help=$("${program[0]}" ${command:+"$command"} --help 2>/dev/null) || return
    # After an option, one blank is followed by the placeholder of its value, several blanks by its description.
    valued=$(sed -n 's/^  \(--[^ ]* [^ ]\+\) .*/\1/p' <<<"$help")

    # Count the operands before the word, and find out whether the word is an option's value.
    local given=0 option="" isEnded=""
    for ((i = 1; i < last; ++i)); do
        local word=${words[i]}
        if [[ $option ]]; then
            [[ $option == --profile ]] && program=("${program[0]}" --profile "${word/#\~/$HOME}")
            option=""
        elif [[ $isEnded || $word != -?* ]]; then
            ((i > first)) && ((++given))
        elif [[ $word == -- ]]; then
            isEnded=1
        elif [[ $word == --profile=* ]]; then
            program=("${program[0]}" "${word/=\~/=$HOME}")
        elif [[ $'\n'$valued == *$'\n'"$word "* ]]; then
            option=$word
        fi
    done
    if [[ ! $option && ! $isEnded && $current == --*=* ]]; then
        option=${current%%=*} current=${current#*=}
    fi

    local kind="" choices=""
    if [[ $option ]]; then
        kind=$(sed -n "s/^$option //p" <<<"$valued" 2>/dev/null)
    elif [[ ! $isEnded && $current == -* ]]; then
        choices=$(sed -n 's/^  \(--[^ ]*\) .*/\1/p' <<<"$help")
    elif [[ ! $command ]]; then
        choices=$(sed -n '/^Commands:/,/^$/ s/^  \([^ ]*\) .*/\1/p' <<<"$help")
    else
        # The operands in "usage: podcasts mark STATE KEY…", without options and brackets.
        local operands
        read -ra operands < <(sed -n '1{s/^usage: podcasts [^ ]*//; s/\[--[^]]*\]//g; s/|.*//; s/[][]//g; p}' \
            <<<"$help")
        kind=${operands[given]:-}
        [[ ! $kind && ${operands[*]} == *… ]] && kind=${operands[-1]}
    fi
    case $kind in
        DIR | OLD | NEW | LOCATION… | FILE) compopt -o filenames 2>/dev/null ;;&
        DIR | OLD | NEW) mapfile -t COMPREPLY < <(_podcasts_files "" "$current") ;;
        LOCATION…) mapfile -t COMPREPLY < <(_podcasts_files "*.xml" "$current") ;;
        FILE) mapfile -t COMPREPLY < <(_podcasts_files "*" "$current") ;;
        *)
            [[ $kind ]] && choices=$(_podcasts_values "${kind%…}" "${program[@]}")
            mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
            ;;
    esac
    # Where Readline splits at ":", it replaces only the part after the last one.
    if [[ $current == *:* && $COMP_WORDBREAKS == *:* ]]; then
        COMPREPLY=("${COMPREPLY[@]#"${current%:*}:"}")
    fi
}
complete -F _podcasts podcasts
