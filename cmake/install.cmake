# cmake --install: bin/ lib/ include/ share/. The components are what packages are made of: runtime, development, tools and
# python, which is for the system's Python alone and therefore not part of a plain installation.
foreach(library Brantel BrantelSession)
  install(TARGETS ${library} EXPORT ${library}Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endforeach()
install(DIRECTORY include/brantel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
# With the binding for C#.
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/brantel COMPONENT development)

# find_package(Brantel) gives the targets Brantel::Brantel and Brantel::Session; with the component Session only the
# latter, which needs no OpenCV to compile against.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Brantel)
foreach(library Brantel BrantelSession)
  install(EXPORT ${library}Targets NAMESPACE Brantel:: DESTINATION ${package_dir} COMPONENT development)
endforeach()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/BrantelConfig.cmake.in
  ${PROJECT_BINARY_DIR}/BrantelConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrantelConfig.cmake ${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The way from a .pc file back to the prefix, so that an installed tree may be moved.
file(RELATIVE_PATH pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(package brantel brantel-session)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(WIN32 AND CMAKE_CROSSCOMPILING)
  # A host must be built with this very OpenCV, so its DLL, headers and import library come along.
  get_filename_component(opencv_prefix ${OpenCV_DIR}/../../.. ABSOLUTE)
  install(DIRECTORY ${opencv_prefix}/ DESTINATION . COMPONENT development
    PATTERN LICENSE EXCLUDE PATTERN share/licenses EXCLUDE)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/third_party.cmake)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brantel COMPONENT development
  FILES_MATCHING PATTERN "*.md" PATTERN images EXCLUDE PATTERN third-party.md EXCLUDE)
if(WIN32)
  configure_file(packaging/README.txt.in ${PROJECT_BINARY_DIR}/README.txt @ONLY NEWLINE_STYLE WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/README.txt DESTINATION . COMPONENT runtime)
endif()

add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
    -P ${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake VERBATIM)

include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
