# SPDX-License-Identifier: Apache-2.0
#
# fish completion for kavrel-ssml.

complete -c kavrel-ssml -l plain -d 'Remove the commands and write no markup'
complete -c kavrel-ssml -l document -d 'Write an SSML 1.1 document'
complete -c kavrel-ssml -l lang -x -d 'Language of the document'
complete -c kavrel-ssml -l from -x -a 'utf-8 macroman latin9' -d 'Encoding of the file'
complete -c kavrel-ssml -l json -d 'Write JSON, with positions'
complete -c kavrel-ssml -l adapt -d 'Convert the text as the Manager adapts it'
complete -c kavrel-ssml -l explain -d 'Write the effect of each command and what the Manager adapts'
complete -c kavrel-ssml -l rate -x -d 'Words per minute'
complete -c kavrel-ssml -l volume -x -d 'Percent of full volume'
complete -c kavrel-ssml -l pitch-base -x -d 'Base pitch as a note number'
complete -c kavrel-ssml -l voice-pitch -x -d 'Pitch of the voice as a note number'
complete -c kavrel-ssml -l phonemes -d 'Read the text as phonemes'
complete -c kavrel-ssml -l spell -d 'Spell every character'
complete -c kavrel-ssml -l digits -d 'Speak numbers digit by digit'
complete -c kavrel-ssml -l no-settings -d 'Use no settings (default)'
complete -c kavrel-ssml -s h -l help -d 'Write a summary of the options'
complete -c kavrel-ssml -l version -d 'Write the version'
