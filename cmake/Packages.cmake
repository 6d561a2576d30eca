# Debian packages, one for each component of the installation: cpack --config build/release/CPackConfig.cmake

set(NORIX_PACKAGE_CONTACT "NorixEngine developers <developers@norixengine.example>"
    CACHE STRING "Maintainer named in the packages")
set(NORIX_PACKAGE_RELEASE 1 CACHE STRING "Number of the package of this version")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT ${NORIX_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/debs)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${NORIX_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SOURCE norixengine)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/ImageFilter)
set(CPACK_COMPONENTS_ALL)

# package(COMPONENT NAME SECTION SUMMARY TEXT [FIELD VALUE]...), fields as CPACK_DEBIAN_<COMPONENT>_ has them
function(package component name section summary text)
  string(TOUPPER ${component} key)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  while(ARGN)
    list(POP_FRONT ARGN field value)
    set(CPACK_DEBIAN_${key}_${field} ${value} PARENT_SCOPE)
  endwhile()
endfunction()

set(version ${PROJECT_VERSION}-${NORIX_PACKAGE_RELEASE})
set(library libnorixengine${PROJECT_VERSION_MAJOR})
string(
  CONCAT about
  "NorixEngine writes a decoded picture into another one with an effect applied,\n"
  "exact to the byte on every machine: sixteen effects and ten transitions.\n.\n")

package(library ${library} libs "video effects on decoded pictures (library)" "${about}This package has the shared library.")
set(control ${PROJECT_BINARY_DIR}/library-control)
file(CONFIGURE OUTPUT ${control}/shlibs CONTENT "libNorixEngine ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")
file(CONFIGURE OUTPUT ${control}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${control}/shlibs ${control}/triggers)
package(
  dev libnorixengine-dev libdevel "video effects on decoded pictures (development files)"
  "${about}This package has the headers, the files for pkg-config and CMake, and\nthe manual pages of the C interface."
  PACKAGE_DEPENDS "${library} (= ${version})" PACKAGE_RECOMMENDS libavutil-dev PACKAGE_SUGGESTS norixengine-doc)
package(
  doc norixengine-doc doc "video effects on decoded pictures (documentation)"
  "${about}This package has the manuals, and the interface's pages for browsers." PACKAGE_ARCHITECTURE all
  PACKAGE_SHLIBDEPS OFF)
if(TARGET norix)
  package(tools norix video "renders video with NorixEngine's effects"
    "${about}This package has the command norix: effects and transitions on whole clips,\nwith their sound, time stamps and metadata."
    PACKAGE_DEPENDS "${library} (= ${version})" PACKAGE_SUGGESTS norixengine-doc)
endif()
if(NORIX_BUILD_FREI0R)
  package(frei0r frei0r-plugins-norix video "NorixEngine's effects as frei0r plug-ins"
    "${about}This package has them for FFmpeg, MLT (melt, Kdenlive) and GStreamer."
    PACKAGE_ENHANCES "ffmpeg, melt, kdenlive, gstreamer1.0-plugins-bad")
endif()
if(NORIX_BUILD_PYTHON)
  math(EXPR next "${Python_VERSION_MINOR} + 1")
  set(NORIX_PYTHON_DEPENDS "python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next}), python3-numpy")
  package(python python3-norixengine python "video effects on decoded pictures (Python 3)"
    "${about}This package has the module norixengine for numpy arrays, and norixengine.batch,\nwhich renders clips on many machines."
    PACKAGE_DEPENDS "${library} (= ${version}), ${NORIX_PYTHON_DEPENDS}" PACKAGE_RECOMMENDS "norix, ffmpeg, python3-distributed")
  # Compiled when installed, and nothing of that left behind.
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packages/postinst ${PROJECT_SOURCE_DIR}/packages/prerm)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)
endif()

# What Debian wants in packages and other installations do not need.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packages/finish.cmake)
set(CPACK_NORIX_COPYRIGHT ${PROJECT_SOURCE_DIR}/packages/copyright)
set(CPACK_NORIX_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
include(CPack)
