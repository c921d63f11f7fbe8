# fish completion for murmelo

function __murmelo_mics
    murmelo mics 2>/dev/null | string sub --start 3 | string replace --regex ' +' \t
end

function __murmelo_models
    murmelo models 2>/dev/null | string sub --start 3 | string replace --regex ' +' \t
end

complete -c murmelo -f
complete -c murmelo -n __fish_use_subcommand -a record -d 'Record until Ctrl+C'
complete -c murmelo -n __fish_use_subcommand -a transcribe -d 'Write the transcript of a recording'
complete -c murmelo -n __fish_use_subcommand -a recover -d 'Mend recordings that were left open'
complete -c murmelo -n __fish_use_subcommand -a mics -d 'List the microphones'
complete -c murmelo -n __fish_use_subcommand -a models -d 'List, install and remove speech models'
complete -c murmelo -n __fish_use_subcommand -a toggle -d 'Start or stop the recording of the running Murmelo'
complete -c murmelo -n __fish_use_subcommand -a status -d 'Tell what the running Murmelo does'
complete -c murmelo -n __fish_use_subcommand -l help -d 'Print help'
complete -c murmelo -n __fish_use_subcommand -l version -d 'Print the version'
complete -c murmelo -n '__fish_seen_subcommand_from record' -l seconds -x -d 'Stop by itself'
complete -c murmelo -n '__fish_seen_subcommand_from record' -l mic -x -a '(__murmelo_mics)' -d 'Record this microphone'
complete -c murmelo -n '__fish_seen_subcommand_from record' -l folder -x -a '(__fish_complete_directories)' -d 'Record into this folder'
complete -c murmelo -n '__fish_seen_subcommand_from record' -l transcribe -d 'Write the transcript too'
complete -c murmelo -n '__fish_seen_subcommand_from recover' -l dry-run -d 'Only look'
complete -c murmelo -n '__fish_seen_subcommand_from record transcribe recover mics models status' -l json -d 'Print the result for scripts'
complete -c murmelo -n 'not __fish_use_subcommand' -l verbose -d 'Show the log'
complete -c murmelo -n '__fish_seen_subcommand_from transcribe recover' -a '(__fish_complete_directories)'
complete -c murmelo -n '__fish_seen_subcommand_from models; and not __fish_seen_subcommand_from install remove' -a 'install remove'
complete -c murmelo -n '__fish_seen_subcommand_from models; and __fish_seen_subcommand_from install remove' -a '(__murmelo_models)'
complete -c murmelo -n '__fish_seen_subcommand_from install' -l from -r -F -d 'Take this file in place of the download'
