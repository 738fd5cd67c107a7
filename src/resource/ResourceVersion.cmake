# Writes HEADER for VERSION and the revision that the checkout SOURCE is at, or zeros when SOURCE is
# none. GIT may be missing. The header is left alone when it would not change.

set(REVISION "0000000000000000000000000000000000000000")
if(GIT AND EXISTS "${SOURCE}/.git")
  execute_process(
    COMMAND "${GIT}" rev-parse --verify HEAD
    WORKING_DIRECTORY "${SOURCE}"
    OUTPUT_VARIABLE found
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  string(LENGTH "${found}" length)
  if(length EQUAL 40 AND found MATCHES "^[0-9a-f]+$")
    set(REVISION "${found}")
  endif()
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/ResourceVersion.h.in" "${HEADER}" @ONLY)
