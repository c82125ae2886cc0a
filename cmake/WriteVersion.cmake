cmake_minimum_required(VERSION 3.25)

# Writes OUTPUT, the header with VERSION and the commit of the tree in SOURCE; leaves the file
# alone when it would not change. Without git, or outside a clone, the commit is "unknown".
# A tree that only lies inside some other repository is not a clone of ours, hence the .git test.
set(commit "unknown")
find_program(GIT git)
if(GIT AND EXISTS "${SOURCE}/.git")
  # A package is often built as another user than the one who cloned.
  execute_process(
    COMMAND "${GIT}" -c "safe.directory=*" -C "${SOURCE}" rev-parse --short=7 HEAD
    OUTPUT_VARIABLE found
    RESULT_VARIABLE failed
    ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT failed)
    set(commit "${found}")
  endif()
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" CONTENT "#pragma once

#define QUORIN_VERSION_TEXT \"@VERSION@ (@commit@)\"
" @ONLY)
