# SPDX-License-Identifier: MIT
# Completion of tavikctl for bash.

# _tavikctl_words WORD...: those that begin as the present word does. Nothing in them is expanded:
# the names of macros may come from anybody's file.
_tavikctl_words() {
    local word
    COMPREPLY=()
    for word; do
        [[ $word != "$current"* ]] || COMPREPLY+=("$word")
    done
}

# As they have to be typed.
_tavikctl_quote() {
    [ ${#COMPREPLY[@]} -eq 0 ] || mapfile -t COMPREPLY < <(printf '%q\n' "${COMPREPLY[@]}")
}

_tavikctl_names() {
    tavikctl names "$1" 2>/dev/null
}

_tavikctl() {
    # The line as its words stand in it: bash itself would part them at every "=" and ":".
    local line=${COMP_LINE:0:COMP_POINT} current known
    local -a words
    read -ra words <<<"$line"
    [[ $line != *[[:space:]] ]] || words+=('')
    current=${words[-1]}
    local count=$((${#words[@]} - 1))
    COMPREPLY=()
    case ${words[count - 1]} in
    --layer) _tavikctl_words base fn; return ;;
    --slot) _tavikctl_words 1 2 3; return ;;
    --brightness | --speed) _tavikctl_words 0 1 2 3 4 5; return ;;
    --direction) _tavikctl_words left right up down; return ;;
    --color) _tavikctl_words random; return ;;
    esac
    # What may stand anywhere does not count.
    local word kept=()
    for word in "${words[@]:0:count}"; do
        case $word in
        --json | --dry-run | --layer) ;;
        base | fn) ;; # what follows --layer
        *) kept+=("$word") ;;
        esac
    done
    words=("${kept[@]}" "$current")
    count=${#kept[@]}
    case $current in
    -*)
        case ${words[1]} in
        light) known="--list --color --brightness --speed --direction" ;;
        keys) known=--layer ;;
        colors) known=--brightness ;;
        screen) known=--slot ;;
        esac
        _tavikctl_words $known --json --dry-run --help
        return
        ;;
    esac
    case $count:${words[1]}:${words[2]} in
    1:*) _tavikctl_words status light sleep keys colors macros screen export import earlier \
        apply names ;;
    2:light:*) _tavikctl_words $(_tavikctl_names effects) ;;
    2:sleep:*) _tavikctl_words never 1 5 30 ;;
    2:keys:*) _tavikctl_words show set write ;;
    2:colors:*) _tavikctl_words show set write read on ;;
    2:macros:*) _tavikctl_words list show set remove write ;;
    2:earlier:*) _tavikctl_words list restore ;;
    2:names:*) _tavikctl_words keys actions effects macros ;;
    3:macros:show | 3:macros:set | 3:macros:remove)
        mapfile -t COMPREPLY < <(_tavikctl_names macros | grep -F -- "$current")
        _tavikctl_quote
        ;;
    *:keys:set | *:colors:set)
        if [[ $current != ?*=* ]]; then
            compopt -o nospace 2>/dev/null
            _tavikctl_words all $(_tavikctl_names keys)
            COMPREPLY=("${COMPREPLY[@]/%/=}")
        elif [ "${words[1]}" = keys ]; then
            current=${current#?*=}
            mapfile -t known < <(_tavikctl_names actions)
            _tavikctl_words "${known[@]}"
            # Bash puts the answer in the place of what stands behind the last "=" or ":".
            [[ $current != *:* ]] || COMPREPLY=("${COMPREPLY[@]#"${current%:*}:"}")
            _tavikctl_quote
        fi
        ;;
    *:screen:* | *:export:* | *:import:* | *:apply:*) compopt -o default 2>/dev/null ;;
    esac
}

complete -F _tavikctl tavikctl
