# bash completion for murmelo

_murmelo() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W 'record transcribe recover mics models toggle status --help --version' -- "$current")
    return
  fi
  case $previous in
    --mic)
      mapfile -t COMPREPLY < <(compgen -W "$(murmelo mics 2> /dev/null | cut -c3- | cut -d' ' -f1)" -- "$current")
      return
      ;;
    --folder)
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      return
      ;;
    --from)
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --seconds) return ;;
  esac
  local options=''
  case ${COMP_WORDS[1]} in
    record) options='--seconds --mic --folder --transcribe --json --verbose' ;;
    transcribe | mics | status) options='--json --verbose' ;;
    models) options='--from --json --verbose' ;;
    recover) options='--dry-run --json --verbose' ;;
    toggle) options='--verbose' ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  elif [[ ${COMP_WORDS[1]} == @(transcribe|recover) ]]; then
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
  elif [[ ${COMP_WORDS[1]} == models ]]; then
    local words='install remove'
    ((COMP_CWORD == 2)) || words=$(murmelo models 2> /dev/null | cut -c3- | cut -d' ' -f1)
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  fi
}
complete -o filenames -F _murmelo murmelo
