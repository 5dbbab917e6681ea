# SPDX-License-Identifier: Apache-2.0
#
# fish completion for kavrel-say.

function __kavrel_say_voices
    kavrel-say -v '?' 2>/dev/null | string replace -r ' +([a-z]{2,3}(?:_[A-Za-z0-9_]+)?) +# ' '\t$1 '
end

function __kavrel_say_list
    kavrel-say $argv[1] '?' 2>/dev/null | string replace -r ' +(# )?' '\t'
end

complete -c kavrel-say -f
complete -c kavrel-say -s v -l voice -x -a '(__kavrel_say_voices)' -d 'Speak with this voice'
complete -c kavrel-say -s r -l rate -x -d 'Speak this many words per minute'
complete -c kavrel-say -s f -l input-file -r -F -d 'Speak this file'
complete -c kavrel-say -l plain -d 'Ignore speech commands in the text'
complete -c kavrel-say -l strict -d 'Do not adapt speech commands'
complete -c kavrel-say -l one-voice -d 'Speak the whole text with one voice'
complete -c kavrel-say -s a -l audio-device -x -a '(__kavrel_say_list -a)' -d 'Use this sound device'
complete -c kavrel-say -s o -l output-file -r -F -d 'Write the speech to this file'
complete -c kavrel-say -l file-format -x -a '(__kavrel_say_list --file-format)' -d 'Use this file format'
complete -c kavrel-say -l data-format -x -a '(__kavrel_say_list --data-format)' -d 'Use this sample format and rate'
complete -c kavrel-say -l vtt -r -F -d 'Write captions in WebVTT format'
complete -c kavrel-say -l srt -r -F -d 'Write captions in SubRip format'
complete -c kavrel-say -s i -d 'Write the text and highlight the current word'
complete -c kavrel-say -l interactive -a 'smso bold smul sitm red green yellow blue magenta cyan' -d 'Write the text and highlight the current word'
complete -c kavrel-say -l progress -d 'Show a progress bar and the time left'
complete -c kavrel-say -l events -d 'Write events as JSON'
complete -c kavrel-say -l positions -x -a 'bytes characters' -d 'Unit of positions in events'
complete -c kavrel-say -l ssml -d 'Write the markup that the engine receives'
complete -c kavrel-say -s q -l quiet -d 'Write errors only, no notes'
complete -c kavrel-say -s h -l help -d 'Write a summary of the options'
complete -c kavrel-say -l version -d 'Write the version'
