# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# bash completion for kavrel-ssml.

_kavrel_ssml() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} list=''
  # bash splits "--option=value" into three words: the option, "=" and the value.
  if [[ $word == '=' ]]; then
    word=''
  elif [[ $before == '=' ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $before in
    --from) list='utf-8 macroman latin9' ;;
    --lang | --rate | --volume | --pitch-base | --voice-pitch) return ;;
    *)
      if [[ $word != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames 2>/dev/null
        return
      fi
      list='--plain --document --lang --from --json --adapt --explain --rate --volume --pitch-base
        --voice-pitch --phonemes --spell --digits --no-settings -h --help --version'
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$list" -- "$word")
}

complete -F _kavrel_ssml kavrel-ssml
