# Installs the component and imports it from there; the library lies where packages put it.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} --component python
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(MAKE_DIRECTORY ${PREFIX}/${LIBRARY_FOLDER})
file(COPY_FILE ${LIBRARY} ${PREFIX}/${LIBRARY_FOLDER}/${LIBRARY_NAME})
file(GLOB_RECURSE caches ${PREFIX}/*.pyc ${PREFIX}/*cache*)
if(caches)
  message(FATAL_ERROR "caches were installed: ${caches}")
endif()
set(program "import norixengine, numpy; from pathlib import Path; assert Path(norixengine.__file__).is_relative_to('${PREFIX}')
assert (Path(norixengine.__file__).parent / 'py.typed').exists() and (Path(norixengine.__file__).parent / '_engine.pyi').exists()
norixengine.render(numpy.zeros((4, 4, 3), numpy.uint8), 'Swirl')
library = [line.split()[-1] for line in open('/proc/self/maps') if 'libNorixEngine' in line][0]
assert library.startswith('${PREFIX}'), library
loaded = [line for line in open('/proc/self/maps') if 'libav' in line or 'libsw' in line]
assert not loaded, loaded")
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${PREFIX}/${FOLDER} PYTHONDONTWRITEBYTECODE=1 ${PYTHON} -c "${program}"
  COMMAND_ERROR_IS_FATAL ANY)
