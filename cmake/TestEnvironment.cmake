# SPDX-License-Identifier: Apache-2.0
#
# ctest reads this before the tests. By default, tests use no sound device, so they need no sound
# server and are silent. Tests of sound output set the variable themselves (tests/speech/device).
set(ENV{KAVREL_AUDIO} none)
