# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# bash completion for kavrel-say.

# Runs the program for one of its lists, without messages.
_kavrel_say_names() {
  kavrel-say "$@" 2>/dev/null
}

_kavrel_say() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} list=''
  # bash splits "--option=value" into three words: the option, "=" and the value.
  if [[ $word == '=' ]]; then
    word=''
  elif [[ $before == '=' ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $before in
    -v | --voice) list=$(_kavrel_say_names -v '?' | sed -E 's/ +[a-z]{2,3}(_[A-Za-z0-9_]+)? +#.*//') ;;
    -a | --audio-device) list=$(_kavrel_say_names -a '?' | sed -E 's/ +#.*//') ;;
    --file-format) list=$(_kavrel_say_names --file-format='?' | sed 's/ .*//') ;;
    --data-format) list=$(_kavrel_say_names --data-format='?' | sed 's/ .*//') ;;
    --positions) list='bytes characters' ;;
    --interactive) list='smso bold smul sitm red green yellow blue magenta cyan' ;;
    -r | --rate) return ;;
    -f | --input-file | -o | --output-file | --vtt | --srt)
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      compopt -o filenames 2>/dev/null
      return
      ;;
    *)
      if [[ $word == -* ]]; then
        list='-v --voice -r --rate -f --input-file --plain --strict --one-voice -a --audio-device
          -o --output-file --file-format --data-format --vtt --srt -i --interactive --progress
          --events --positions --ssml -q --quiet -h --help --version'
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$list" -- "$word")
}

complete -F _kavrel_say kavrel-say
