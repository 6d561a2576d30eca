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
  # The kernels inline so much that full debug information and checks in place take minutes a file.
  target_compile_options(norix_compiler INTERFACE ${sanitizers} -O1 -g1)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    if(NORIX_SANITIZE MATCHES address)
      target_compile_options(norix_compiler INTERFACE "SHELL:--param asan-instrumentation-with-call-threshold=0")
    endif()
  else()
    # Every step of a vector would be checked for a null pointer.
    target_compile_options(norix_compiler
                           INTERFACE -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt)
    if(NORIX_SANITIZE MATCHES address)
      target_compile_options(norix_compiler INTERFACE "SHELL:-mllvm -asan-instrumentation-with-call-threshold=0")
    endif()
  endif()
  target_link_options(norix_compiler INTERFACE ${sanitizers})
endif()

# Kernels keep vectors in structures and on tables of known size, which instruction sets without a fixed width cannot do.
set(NORIX_WITHOUT_TARGETS "" CACHE STRING "More of Highway's instruction sets to build no kernels for: HWY_SSE4|HWY_AVX3")
list(APPEND without HWY_SVE HWY_SVE2 HWY_SVE_256 HWY_SVE2_128 HWY_RVV ${NORIX_WITHOUT_TARGETS})
list(JOIN without "|" without)
target_compile_definitions(norix_compiler INTERFACE "HWY_DISABLED_TARGETS=(${without})")
