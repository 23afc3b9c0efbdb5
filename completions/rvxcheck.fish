# Completion of rvxcheck's command line for fish. It belongs into ~/.config/fish/completions.

complete -c rvxcheck -s v -d 'print a line for each good file, too'
complete -c rvxcheck -s q -d 'show no progress'
complete -c rvxcheck -s j -x -d 'read N files at once on each disk'
complete -c rvxcheck -l ignore -x -d 'files of such a name need not be listed, nor be safe'
complete -c rvxcheck -l card -x -a '(__fish_complete_directories)' -d 'tell whether the card may be formatted'
complete -c rvxcheck -l copies -x -d 'on how many different disks each of its files must be'
complete -c rvxcheck -l mhl -d 'write an MHL 1.1 list of what was found clean'
complete -c rvxcheck -l ascmhl -d 'write the next generation of its ASC MHL history'
complete -c rvxcheck -l help -d 'print the usage'
complete -c rvxcheck -l version -d 'print the version'
