# SPDX-License-Identifier: MIT
# Completion of tavikctl for fish.

# The words before the present one, without the name of the program.
function __tavikctl_words
    # What may stand anywhere does not count.
    set -l words (string match -v -r -- '^(--(json|dry-run|layer)|base|fn)$' (commandline -opc))
    echo "$words[2..-1]"
end

# Whether they begin with these.
function __tavikctl_in
    string match -q -- "$argv *" (__tavikctl_words)' '
end

# Whether they are just these.
function __tavikctl_after
    test (__tavikctl_words) = "$argv"
end

function __tavikctl_assignments
    set -l word (commandline -ct)
    if string match -q -r -- '.=' $word # a question mark is a wildcard for old versions only
        set -l key (string replace -r '=.*' = -- $word)
        test $argv[1] = keys; and printf '%s\n' $key(tavikctl names actions 2>/dev/null)
    else
        printf '%s=\n' all (tavikctl names keys 2>/dev/null)
    end
end

complete -c tavikctl -f
complete -c tavikctl -l json -d 'Answer in JSON'
complete -c tavikctl -l dry-run -d 'Say what would be sent'
complete -c tavikctl -n '__tavikctl_after' -a 'status light sleep keys colors macros screen export import earlier apply names'
complete -c tavikctl -n '__tavikctl_after light' -a '(tavikctl names effects 2>/dev/null)'
complete -c tavikctl -n '__tavikctl_after sleep' -a 'never 1 5 30'
complete -c tavikctl -n '__tavikctl_after keys' -a 'show set write'
complete -c tavikctl -n '__tavikctl_after colors' -a 'show set write read on'
complete -c tavikctl -n '__tavikctl_after macros' -a 'list show set remove write'
complete -c tavikctl -n '__tavikctl_after earlier' -a 'list restore'
complete -c tavikctl -n '__tavikctl_after names' -a 'keys actions effects macros'
for word in show set remove
    complete -c tavikctl -n "__tavikctl_after macros $word" -a '(tavikctl names macros 2>/dev/null)'
end
complete -c tavikctl -n '__tavikctl_in keys set' -a '(__tavikctl_assignments keys)'
complete -c tavikctl -n '__tavikctl_in colors set' -a '(__tavikctl_assignments colors)'
complete -c tavikctl -n '__tavikctl_in light' -l list
complete -c tavikctl -n '__tavikctl_in light' -l color -x -a random
complete -c tavikctl -n '__tavikctl_in light; or __tavikctl_in colors on' -l brightness -x -a '0 1 2 3 4 5'
complete -c tavikctl -n '__tavikctl_in light' -l speed -x -a '0 1 2 3 4 5'
complete -c tavikctl -n '__tavikctl_in light' -l direction -x -a 'left right up down'
complete -c tavikctl -n '__tavikctl_in keys' -l layer -x -a 'base fn'
complete -c tavikctl -n '__tavikctl_in screen' -l slot -x -a '1 2 3'
for word in screen export import apply
    complete -c tavikctl -n "__tavikctl_in $word" -F
end
