# Completion of quarrow, quarrow-homes, quarrow-lmtpd and quarrow-webd in fish. The programs themselves say what can be typed.

function __quarrow_complete
    set -l words (commandline -opc)
    # Of the word at the cursor only what is in front of a quote, and no more of an option's value:
    # fish itself chooses what fits.
    set -l typed (string match -r -- '^(?:-[^=]*=?|[\w@.+]*)' (commandline -ct))
    set -l answer ($words[1] complete fish $words[2..-1] "$typed" 2>/dev/null)
    set -l prefix (string match -r -- '^--[^=]*=' (commandline -ct))
    set -l path (string replace -r -- '^--[^=]*=' '' (commandline -ct))
    switch "$answer[1]"
        case files
            printf '%s\n' "$prefix"(__fish_complete_path $path)
        case folders
            printf '%s\n' "$prefix"(__fish_complete_directories $path)
    end
    printf '%s\n' $answer[2..-1]
end

for program in quarrow quarrow-homes quarrow-lmtpd quarrow-webd
    complete -c $program -f -a '(__quarrow_complete)'
end
