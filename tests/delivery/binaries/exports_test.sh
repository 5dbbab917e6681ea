#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# exports_test.sh PLUGIN: the plug-in exports exactly its twelve names.
set -euo pipefail

expected='SECloseSpeechChannel
SEContinueSpeech
SEGetSpeechInfo
SEOpenSpeechChannel
SEPauseSpeechAt
SESetSpeechInfo
SESpeakBuffer
SESpeechStatus
SEStopSpeechAt
SETextToPhonemes
SEUseDictionary
SEUseVoice'
actual=$(nm -D --defined-only "$1" | awk '{ print $3 }' | LC_ALL=C sort)
diff <(echo "$expected") <(echo "$actual")
