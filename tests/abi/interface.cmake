# Compares the library's interface (functions, types, sizes, tables of virtual functions) with that of the release.
#   cmake -DABIDIFF=... -DABIDW=... -DLIBRARY=... -DHEADERS=... -DEXPECTED=... [-DUPDATE=ON] -P interface.cmake

if(UPDATE)
  execute_process(
    COMMAND ${ABIDW} --no-corpus-path --no-comp-dir-path --no-show-locs --drop-private-types --headers-dir ${HEADERS}
            --out-file ${EXPECTED} ${LIBRARY} COMMAND_ERROR_IS_FATAL ANY)
  return()
endif()

# Without its types a library would pass that changed them.
execute_process(COMMAND ${ABIDW} --drop-private-types --headers-dir ${HEADERS} ${LIBRARY} OUTPUT_VARIABLE actual
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT actual MATCHES "class-decl name='RippleParams' size-in-bits='960'")
  message(FATAL_ERROR "${LIBRARY} says nothing of its types: the files of the interface must be compiled with -g.")
endif()

execute_process(
  COMMAND ${ABIDIFF} --no-added-syms --drop-private-types --headers-dir2 ${HEADERS} ${EXPECTED} ${LIBRARY}
  RESULT_VARIABLE result OUTPUT_VARIABLE difference ERROR_VARIABLE difference)
if(NOT result EQUAL 0)
  message("The interface differs from that of the release in ${EXPECTED}:\n${difference}\n"
          "Hosts built against the release would break. With a new major version, write the file anew:\n"
          "  cmake -DUPDATE=ON -DABIDW=${ABIDW} -DLIBRARY=${LIBRARY} -DHEADERS=${HEADERS} -DEXPECTED=${EXPECTED} -P "
          "${CMAKE_CURRENT_LIST_FILE}")
  message(FATAL_ERROR "the interface differs")
endif()
