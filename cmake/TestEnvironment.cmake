# SPDX-License-Identifier: Apache-2.0
#
# Read by ctest before the tests. None of them depends on a sound server, or makes a noise; those
# that are about sound output say so themselves (tests/speech/device).
set(ENV{KAVREL_AUDIO} none)
