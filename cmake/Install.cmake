# cmake --install (./zor install PREFIX): what a host project needs.
#   bin/      zorutils.dll, zorfutls.dll, zortool.exe (and its samples/) and
#             the string files
#   lib/      the import libraries and the CMake package (lib/cmake/zorutils)
#   include/  the public headers, <zorutils/...> and <zorfutls/...>
# A host then writes find_package(zorutils) and links zorutils::zorutils,
# which brings zorutils::zorfutls along.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_include_directories(zorutils PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(zorfutls PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

install(TARGETS zorutils zorfutls EXPORT zorutilsTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS zortool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# zortool's sample data rides along, as in the build tree, for its demos.
install(DIRECTORY tools/zortool/samples/ DESTINATION ${CMAKE_INSTALL_BINDIR}/samples)
file(GLOB string_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/zorutils/strings/data/*)
install(FILES ${string_files} DESTINATION ${CMAKE_INSTALL_BINDIR})

# Public headers only: internal/, *_impl.h and the headers private to one
# subsystem's sources stay behind.
foreach(lib zorutils zorfutls)
  file(GLOB_RECURSE headers RELATIVE ${CMAKE_SOURCE_DIR}/${lib} CONFIGURE_DEPENDS
       ${CMAKE_SOURCE_DIR}/${lib}/*.h)
  list(FILTER headers EXCLUDE REGEX "^internal/|_impl\\.h$|^promo/(Blend|PromoInternal)\\.h$")
  foreach(header IN LISTS headers)
    get_filename_component(dir ${header} DIRECTORY)
    install(FILES ${lib}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${lib}/${dir})
  endforeach()
endforeach()

set(ZOR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zorutils)
install(EXPORT zorutilsTargets NAMESPACE zorutils:: DESTINATION ${ZOR_PACKAGE_DIR})
configure_package_config_file(cmake/zorutilsConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/zorutilsConfig.cmake
  INSTALL_DESTINATION ${ZOR_PACKAGE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR)
# The version file also turns a package of the other word size away
# (a 32-bit host does not pick up the 64-bit tree).
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/zorutilsConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/zorutilsConfig.cmake
              ${CMAKE_BINARY_DIR}/package/zorutilsConfigVersion.cmake
        DESTINATION ${ZOR_PACKAGE_DIR})
