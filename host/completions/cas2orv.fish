# Completion of cas2orv for fish.

set -l commands convert check targets machine verify explain show diff export report batch help
set -l no_command "not __fish_seen_subcommand_from $commands"

complete -c cas2orv -f
complete -c cas2orv -s h -l help -d 'Print help'
complete -c cas2orv -n $no_command -l version -d 'Print the version'

complete -c cas2orv -n $no_command -a convert -d 'Convert a package'
complete -c cas2orv -n $no_command -a check -d 'Read a package and tell what would be lost'
complete -c cas2orv -n $no_command -a targets -d 'List the targets of a package'
complete -c cas2orv -n $no_command -a machine -d 'Print the machine description in effect'
complete -c cas2orv -n $no_command -a verify -d 'Check manifests and their payload'
complete -c cas2orv -n $no_command -a explain -d 'Tell from a record what became of things'
complete -c cas2orv -n $no_command -a show -d 'List the items of a manifest'
complete -c cas2orv -n $no_command -a diff -d 'Tell what two results differ in'
complete -c cas2orv -n $no_command -a export -d 'Write the registry of a manifest as a .reg file'
complete -c cas2orv -n $no_command -a report -d 'Make a page of results'
complete -c cas2orv -n $no_command -a batch -d 'Convert many packages into one folder'
complete -c cas2orv -n $no_command -a help -d 'Print the help of a command'

set -l of '__fish_seen_subcommand_from'
complete -c cas2orv -n "$of convert check targets verify explain show diff export report batch" -F
complete -c cas2orv -n "$of help" -a "$commands"

complete -c cas2orv -n "$of convert" -l replace -d 'Replace the folders of targets'
complete -c cas2orv -n "$of convert" -l log -r -F -d 'Save the log'
complete -c cas2orv -n "$of convert" -l record -r -F -d 'Save the record'
complete -c cas2orv -n "$of convert batch" -l sums -d 'Write SHA256SUMS beside each manifest'
complete -c cas2orv -n "$of convert check batch" -l progress -x -a 'auto plain none' -d 'How to show progress'
complete -c cas2orv -n "$of convert check batch" -l strict -d 'Take what was not captured as a loss'
complete -c cas2orv -n "$of convert check targets machine verify explain show diff export report batch" -l json -d 'Print JSON'
complete -c cas2orv -n "$of convert check targets machine export batch" -l machine -r -F -d 'Use this machine description'
complete -c cas2orv -n "$of show" -l collection -x -d 'Show only this collection'
complete -c cas2orv -n "$of show" -l match -x -d 'Show only what has such a name'
complete -c cas2orv -n "$of export" -l reg -r -F -d 'Write this file'
complete -c cas2orv -n "$of report" -s o -l output -r -F -d 'Write this page'
complete -c cas2orv -n "$of batch" -s o -l output -x -a '(__fish_complete_directories)' -d 'Write the results into this folder'
complete -c cas2orv -n "$of batch" -l jobs -x -d 'Convert so many packages at a time'
complete -c cas2orv -n "$of batch" -l timeout -x -d 'End a conversion that takes longer'
complete -c cas2orv -n "$of batch" -l memory -x -d 'End a conversion that wants more memory'
complete -c cas2orv -n "$of batch" -l retry -d 'Convert again what has failed'
complete -c cas2orv -n "$of batch" -l only -x -d 'Convert this share, such as 2/10'
complete -c cas2orv -n "$of batch" -l no-summary -d 'Write no summary'
complete -c cas2orv -n "$of batch" -l engine -x -a 'local slurm' -d 'Where the conversions run'
complete -c cas2orv -n "$of batch" -l slurm-option -x -d 'An option for sbatch'
complete -c cas2orv -n "$of batch" -l packages-per-task -x -d 'So many packages for each task of the array'
complete -c cas2orv -n "$of batch" -l detach -d 'Do not wait for the array'
