# Completion of rvxcopy's command line for fish. It belongs into ~/.config/fish/completions.

# The script of completions/sequences.sh: it is installed in the folder rvxcopy beside those of the shells.
set -g __rvxcopy_sequences (dirname (dirname (dirname (realpath (status filename)))))/rvxcopy/sequences.sh

# The word at the cursor without its quotes.
function __rvxcopy_typed
    set -l raw (commandline --current-token --cut-at-cursor)
    string unescape -- $raw; or string unescape -- "$raw'"; or string unescape -- $raw\"
end

function __rvxcopy_identifiers
    set -l typed (__rvxcopy_typed)
    sh $__rvxcopy_sequences $typed (string replace --regex '^~(?=/)' -- $HOME (string match --regex '^(?:.*/)?' -- $typed))
end

# What stands in front of the cursor asks for: options, source, sequence, destination, or p, t or o for
# the value of that option.
function __rvxcopy_wants
    set -l wanted source
    set -l option
    for word in (commandline --tokenize --cut-at-cursor --current-process)[2..]
        if set -q option[1]
            set -e option
            continue
        end
        # By their beginning, as the program takes them.
        switch $word
            case '-p*' '-t*' '-o*'
                set option (string sub --start 2 --length 1 -- $word)
            case '-s*'
                test $wanted = source; and set wanted sequence
            case '-v*' '-f*' '-n*'
            case '*'
                set wanted destination
        end
    end
    if set -q option[1]
        set wanted $option
    else if string match --quiet -- '-*' (commandline --current-token)
        set wanted options
    end
    test $wanted = $argv[1]
end

complete -c rvxcopy --no-files
complete -c rvxcopy -o v -d 'verbose, prints progress during copy and verify'
complete -c rvxcopy -o s -d 'marks a sequence (including #### etc.)'
complete -c rvxcopy -o t -d 'hash type, md5 or sha1 (default: sha1)'
complete -c rvxcopy -o f -d "force overwrite mode (if file exists, don't error but overwrite it)"
complete -c rvxcopy -o p -d 'preserve the source folder structure to a depth of n. n can be between 0 and 6 (default is 0)'
complete -c rvxcopy -o o -d 'write output hash file (default: 1)'
complete -c rvxcopy -o n -d 'skip file verification after copy'
complete -c rvxcopy -n '__rvxcopy_wants t' -a 'md5 sha1'
complete -c rvxcopy -n '__rvxcopy_wants p' -a '0 1 2 3 4 5 6'
complete -c rvxcopy -n '__rvxcopy_wants o' -a '0 1'
complete -c rvxcopy -n '__rvxcopy_wants source' --force-files
complete -c rvxcopy -n '__rvxcopy_wants sequence' -a '(__rvxcopy_identifiers)' -d sequence
# The slash at the end is what makes a destination a folder.
complete -c rvxcopy -n '__rvxcopy_wants sequence; or __rvxcopy_wants destination' -a '(__fish_complete_directories)'
