# cmake --install: bin/ lib/ include/. cpack: the same as an archive.
foreach(library Brantel BrantelSession)
  install(TARGETS ${library} EXPORT ${library}Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()
install(DIRECTORY include/brantel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/brantel)  # with the binding for C#

# find_package(Brantel) gives the targets Brantel::Brantel and Brantel::Session; with the component Session only the
# latter, which needs no OpenCV to compile against.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Brantel)
foreach(library Brantel BrantelSession)
  install(EXPORT ${library}Targets NAMESPACE Brantel:: DESTINATION ${package_dir})
endforeach()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/BrantelConfig.cmake.in
  ${PROJECT_BINARY_DIR}/BrantelConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrantelConfig.cmake ${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  DESTINATION ${package_dir})

# The way from a .pc file back to the prefix, so that an installed tree may be moved.
file(RELATIVE_PATH pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(package brantel brantel-session)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(WIN32 AND CMAKE_CROSSCOMPILING)
  # A host must be built with this very OpenCV, so its DLL, headers and import library come along.
  get_filename_component(opencv_prefix ${OpenCV_DIR}/../../.. ABSOLUTE)
  install(DIRECTORY ${opencv_prefix}/ DESTINATION . PATTERN LICENSE EXCLUDE)
  install(FILES ${opencv_prefix}/LICENSE DESTINATION share/licenses/opencv4)
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR TGZ)
endif()
string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_FILE_NAME brantel-${PROJECT_VERSION}-${system}-x86_64)
set(CPACK_PACKAGE_VENDOR Brantel)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
