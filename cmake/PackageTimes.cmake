# SPDX-License-Identifier: Apache-2.0
#
# CPack runs this before it packs the files. Sets their times to SOURCE_DATE_EPOCH, if that is set,
# so that two builds of the same sources give the same package.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND find "${CPACK_TEMPORARY_DIRECTORY}" -exec
      touch --no-dereference "--date=@$ENV{SOURCE_DATE_EPOCH}" {} +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
