# fish completion for kelvarune and its companions; installed under the name of each. fish tells
# nothing of what stands behind the cursor.

set -g __kelvarune_helper (status dirname)/../../kelvarune/complete.py

function __kelvarune_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct)
    set -l reply (python3 -I $__kelvarune_helper fish (count $before) $before "$current" 2>/dev/null)
    set -l kind (string split ' ' -- $reply[1])
    set -l found $reply[2..-1]
    set -l prefix (string match -r -- '^--[^=]+=' $current)
    set -l value (string replace -r -- '^--[^=]+=' '' $current)
    switch "$kind[1]"
        case command
            complete -C (string join ' ' -- (string escape -- $before[(math $kind[2] + 1)..-1]) "$current")
        case files
            set -l end (string escape --style=regex -- (string replace -r '^(?=.)' . -- "$kind[2]"))
            set found (complete -C "'' $value" | string match -r -- ".*(?:/|$end)(?:\t.*)?\$")
        case directories
            set found (__fish_complete_directories "$value" '')
    end
    for word in $found
        printf '%s%s\n' "$prefix" $word
    end
end

complete -c (path change-extension '' (status basename)) -f -a '(__kelvarune_complete)'
