# Completion of the parvane command for bash.
_parvane() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command=${COMP_WORDS[1]}
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W 'app convert scan list check verify help --help --version' -- "$current")
    return
  fi
  if [[ $command == help ]]; then
    mapfile -t COMPREPLY < <(compgen -W 'app convert scan list check verify' -- "$current")
    return
  fi
  case $previous in
    --from)
      mapfile -t COMPREPLY < <(compgen -W 'auto mbox thunderbird maildir mh eml apple-mail archive takeout' -- "$current")
      return
      ;;
    --labels)
      mapfile -t COMPREPLY < <(compgen -W 'folders copies off' -- "$current")
      return
      ;;
    --mapi)
      mapfile -t COMPREPLY < <(compgen -W 'builtin outlook' -- "$current")
      return
      ;;
    --progress)
      mapfile -t COMPREPLY < <(compgen -W 'auto lines never' -- "$current")
      return
      ;;
    --separators)
      mapfile -t COMPREPLY < <(compgen -W 'standard strict' -- "$current")
      return
      ;;
    --dedup)
      mapfile -t COMPREPLY < <(compgen -W 'off folder all' -- "$current")
      return
      ;;
    --keep)
      mapfile -t COMPREPLY < <(compgen -W 'all none state winmail addresses headers dates inline parts' -- "$current")
      return
      ;;
    --name | --folder | --exclude | --since | --until | --size-limit | --split | --jobs | -j | --dump) return ;;
  esac
  if [[ $current == -* && $command == convert ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--from --name --dry-run --append --skip-existing --resume --dedup --overwrite --mapi --size-limit --split --each --each-of --jobs --log
      --detailed-log --report --progress --keep --labels --skip-deleted --folder --exclude --since --until --skip-junk --separators --timings -q --quiet --help' -- "$current")
  elif [[ $current == -* && $command == app ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--no-browser --help' -- "$current")
  elif [[ $current == -* && $command == scan ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--from --name --keep --labels --skip-deleted --folder --exclude --since --until --skip-junk --separators --json --progress --help' -- "$current")
  elif [[ $current == -* && $command == list ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--messages --json --mapi --progress --help' -- "$current")
  elif [[ $current == -* && $command == check ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--json --notes --progress --dump --help' -- "$current")
  elif [[ $current == -* && $command == verify ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--from --name --keep --labels --skip-deleted --folder --exclude --since --until --skip-junk --separators --dedup --manifest --json
      --progress --help' -- "$current")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -F _parvane parvane
