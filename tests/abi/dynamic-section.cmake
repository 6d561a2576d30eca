# Checks the name under which hosts find the library, and that it brings no libav* library with it.
#   cmake -DREADELF=... -DLIBRARY=... -P dynamic-section.cmake

execute_process(COMMAND ${READELF} -d -W ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output MATCHES "\\(SONAME\\)[^\n]*\\[libNorixEngine\\.so\\.0\\]")
  message(SEND_ERROR "SONAME is not libNorixEngine.so.0:\n${output}")
endif()
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" needed "${output}")
if(NOT needed)
  message(SEND_ERROR "No NEEDED entry at all; a C++ library needs at least the C library:\n${output}")
endif()
foreach(entry IN LISTS needed)
  if(entry MATCHES "\\[lib(av|sw|postproc)")
    message(SEND_ERROR "The library needs FFmpeg, of which only headers may be used: ${entry}")
  endif()
endforeach()
if(output MATCHES "\\((RPATH|RUNPATH)\\)")
  message(STATUS "The library carries a search path of its own:\n${output}")
endif()
