# Flags of everything that is built here.

add_library(norix_compiler INTERFACE)
target_compile_options(
  norix_compiler
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -ffp-contract=off # a fused multiply-add would change output bytes
            $<$<BOOL:${NORIX_WERROR}>:-Werror>
            $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor;-Woverloaded-virtual>)

if(NORIX_SANITIZE)
  set(sanitizers -fsanitize=${NORIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_compile_options(norix_compiler INTERFACE ${sanitizers})
  target_link_options(norix_compiler INTERFACE ${sanitizers})
endif()
