# Takes the first C program of a README and the output shown after it, builds and runs the one and expects the other.
#   cmake -DREADME=... -DCC=... -DLIBRARY=... -DINCLUDE_DIRS=... -DAVUTIL_CFLAGS=... -DAVUTIL_LIBRARIES=... -DWORK_DIR=...
#         [-DSANITIZE=...] -P readme-example.cmake

# Cuts the next block of a language out of `text` and leaves in `text` what follows it.
function(TakeBlock language text_variable block_variable)
  set(text "\n${${text_variable}}")
  set(opening "\n```${language}\n")
  string(FIND "${text}" "${opening}" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "${README} has no ```${language} block here. The first ```c block must be a program, and a ```text block "
                        "after it must show the program's output.")
  endif()
  string(LENGTH "${opening}" length)
  # The last character of the opening stays: an empty block closes with it.
  math(EXPR begin "${begin} + ${length} - 1")
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(FIND "${text}" "\n```\n" end)
  if(end EQUAL -1)
    message(FATAL_ERROR "${README} has a ```${language} block that does not end.")
  endif()
  string(SUBSTRING "${text}" 0 ${end} block)
  if(block STREQUAL "")
    message(FATAL_ERROR "${README} has an empty ```${language} block.")
  endif()
  string(SUBSTRING "${block}" 1 -1 block)
  math(EXPR end "${end} + 5")
  string(SUBSTRING "${text}" ${end} -1 text)
  set(${block_variable} "${block}\n" PARENT_SCOPE)
  set(${text_variable} "${text}" PARENT_SCOPE)
endfunction()

file(READ ${README} readme)
string(APPEND readme "\n")
TakeBlock(c readme program)
TakeBlock(text readme expected)

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
file(WRITE ${WORK_DIR}/example.c "${program}")

set(flags -std=c99 -Wall -Wextra -pedantic -Werror ${AVUTIL_CFLAGS})
foreach(directory IN LISTS INCLUDE_DIRS)
  list(APPEND flags -I${directory})
endforeach()
if(SANITIZE)
  list(APPEND flags -fsanitize=${SANITIZE})
endif()
get_filename_component(library_dir ${LIBRARY} DIRECTORY)
execute_process(COMMAND ${CC} ${flags} example.c -o example ${LIBRARY} -Wl,-rpath,${library_dir} ${AVUTIL_LIBRARIES} -lm
                WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The program in ${README} does not compile:\n${output}")
endif()

execute_process(COMMAND ${WORK_DIR}/example WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result OUTPUT_VARIABLE output
                ERROR_VARIABLE errors TIMEOUT 60)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The program in ${README} ends with ${result}:\n${output}${errors}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "The program in ${README} prints\n${output}where the README shows\n${expected}")
endif()
