# Completion of quillon for bash. Words come from the program itself: commands and options from --help, plug-ins from
# `list`, keys and choices from `describe`.

_quillon_options() {
    "$@" --help 2>/dev/null | grep -oE -- '(^ +|,)--?[a-z-]+' | tr -d ' ,'
}

_quillon_commands() {
    quillon --help 2>/dev/null | awk '/^Subcommands:/ { on = 1; next } /^$/ { on = 0 } on { print $1 }'
}

_quillon_plugins() {
    quillon list --json "${_quillon_packs[@]}" 2>/dev/null | sed -n 's/^ *"name": "\([^"]*\)".*/\1/p'
}

# The keys of a plug-in's parameters or settings, each with "=".
_quillon_keys() {
    quillon describe "$1" "${_quillon_packs[@]}" 2>/dev/null |
        awk -v table="$2" '$1 == table { on = 1; next } /^$/ { on = 0 } on && /^[^ ]/ { sub(/  .*/, ""); print $0 "=" }'
}

# The choices of a key, or true and false.
_quillon_values() {
    quillon describe "$1" "${_quillon_packs[@]}" 2>/dev/null | awk -v key="$2" '
        index($0, key "  ") == 1 || $0 == key {
            line = substr($0, length(key) + 1)
            if (match(line, /one of /)) {
                list = substr(line, RSTART + 7)
                gsub(/, /, "\n", list)
                print list
            } else if (line ~ /^ +bool /) {
                print "true\nfalse"
            }
        }'
}

# What the words before the cursor say: the command, the plug-in, and the packs as options.
_quillon_command=
_quillon_plugin=
_quillon_packs=()
_quillon_look_back() {
    local withValue past=("${COMP_WORDS[@]:2:$((COMP_CWORD - 2))}") i
    _quillon_command=${COMP_WORDS[1]}
    _quillon_plugin=
    _quillon_packs=()
    [[ $_quillon_command == run || $_quillon_command == describe ]] || return
    withValue=$(quillon "$_quillon_command" --help 2>/dev/null | sed -nE '/Excludes:/d; s/^ +(-[-a-z,]+) [A-Z].*/,\1,/p')
    for ((i = 0; i < ${#past[@]}; ++i)); do
        if [[ ${past[i]} == --pack && -n ${past[i + 1]-} ]]; then
            _quillon_packs+=(--pack "${past[i + 1]/#\~/$HOME}")
        fi
        if [[ ${past[i]} == -* ]]; then
            [[ $withValue != *",${past[i]},"* ]] || i=$((i + 1))
        elif [[ ${past[i]} == = ]]; then
            i=$((i + 1)) # the value of a key
        elif [[ -z $_quillon_plugin ]]; then
            _quillon_plugin=${past[i]}
        fi
    done
}

# What can follow KEY=: its choices or, without any, files. Each is offered with the prefix.
_quillon_offer_values() {
    local key=$1 value=$2 prefix=$3 offers IFS=$'\n'
    offers=$(compgen -W "$(_quillon_values "$_quillon_plugin" "$key")" -- "$value")
    [[ -n $offers ]] || offers=$(compgen -f -- "$value")
    COMPREPLY=($(sed "s|^|$prefix|" <<<"$offers"))
}

_quillon() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} IFS=$'\n'
    local beforeThat=
    [[ $COMP_CWORD -gt 1 ]] && beforeThat=${COMP_WORDS[COMP_CWORD - 2]}
    COMPREPLY=()
    if [[ $COMP_CWORD -eq 1 ]]; then
        COMPREPLY=($(compgen -W "$(_quillon_commands; _quillon_options quillon)" -- "$current"))
        return
    fi
    _quillon_look_back
    # bash takes KEY=VALUE apart at the equals sign, zsh does not.
    if [[ -n $_quillon_plugin && $current == = ]]; then
        _quillon_offer_values "$previous" "" ""
        return
    elif [[ -n $_quillon_plugin && $previous == = ]]; then
        _quillon_offer_values "$beforeThat" "$current" ""
        return
    elif [[ -n $_quillon_plugin && $previous == -* && $current == [!-]*=* ]]; then
        _quillon_offer_values "${current%%=*}" "${current#*=}" "${current%%=*}="
        return
    fi
    case $previous in
    -p | --parameter | -s | --setting)
        local table=PARAMETER
        [[ $previous == -s || $previous == --setting ]] && table=SETTING
        COMPREPLY=($(compgen -W "$(_quillon_keys "$_quillon_plugin" "$table")" -- "$current"))
        compopt -o nospace 2>/dev/null || true
        return
        ;;
    --as) COMPREPLY=($(compgen -W $'binary\ngrey8\ngrey16\ngrey32\ngreyf' -- "$current")) ; return ;;
    --unit) COMPREPLY=($(compgen -W $'m\nmm\num\nnm' -- "$current")) ; return ;;
    --axis) COMPREPLY=($(compgen -W $'x\ny\nz' -- "$current")) ; return ;;
    esac
    if [[ $_quillon_command == validate && $previous != --seed && $previous != --reproduce && $current != -* ]]; then
        COMPREPLY=($(compgen -W "$(_quillon_plugins)" -- "$current") $(compgen -f -- "$current"))
        compopt -o filenames 2>/dev/null || true
        return
    fi
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$(_quillon_options quillon "$_quillon_command")" -- "$current"))
    elif [[ $_quillon_command == @(run|describe) && -z $_quillon_plugin && $previous != --pack ]]; then
        COMPREPLY=($(compgen -W "$(_quillon_plugins)" -- "$current"))
    else
        COMPREPLY=($(compgen -f -- "$current"))
        compopt -o filenames 2>/dev/null || true
    fi
}

complete -F _quillon quillon
