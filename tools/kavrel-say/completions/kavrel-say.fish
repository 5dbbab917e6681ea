# SPDX-License-Identifier: Apache-2.0
#
# Completion of kavrel-say in fish.

function __kavrel_say_voices
    kavrel-say -v '?' 2>/dev/null | string replace -r ' +([a-z]{2}_[A-Z]{2}) +# ' '\t$1 '
end

function __kavrel_say_list
    kavrel-say $argv[1] '?' 2>/dev/null | string replace -r ' +(# )?' '\t'
end

complete -c kavrel-say -f
complete -c kavrel-say -s v -l voice -x -a '(__kavrel_say_voices)' -d 'Speak with this voice'
complete -c kavrel-say -s r -l rate -x -d 'Words per minute'
complete -c kavrel-say -s f -l input-file -r -F -d 'Speak this file'
complete -c kavrel-say -l plain -d 'Carry out no command in the text'
complete -c kavrel-say -s a -l audio-device -x -a '(__kavrel_say_list -a)' -d 'Speak on this sound device'
complete -c kavrel-say -s o -l output-file -r -F -d 'Write the speech to this file'
complete -c kavrel-say -l file-format -x -a '(__kavrel_say_list --file-format)' -d 'In this format'
complete -c kavrel-say -l data-format -x -a '(__kavrel_say_list --data-format)' -d 'With such samples'
complete -c kavrel-say -l vtt -r -F -d 'Write captions as WebVTT'
complete -c kavrel-say -l srt -r -F -d 'Write captions as SubRip'
complete -c kavrel-say -s i -d 'Write the text, the word being spoken marked'
complete -c kavrel-say -l interactive -a 'smso bold smul sitm red green yellow blue magenta cyan' -d 'Write the text, the word being spoken marked'
complete -c kavrel-say -l progress -d 'Show a bar and the time left'
complete -c kavrel-say -l events -d 'Write what happens as JSON'
complete -c kavrel-say -l positions -x -a 'bytes characters' -d 'How events count places'
complete -c kavrel-say -l ssml -d 'Write what the engine is given'
complete -c kavrel-say -s q -l quiet -d 'Write no notes'
complete -c kavrel-say -s h -l help -d 'Write a summary of the options'
complete -c kavrel-say -l version -d 'Write the version'
