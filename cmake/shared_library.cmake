# brantel_shared_library(NAME EXPORTS...): a shared library that exports exactly these names and stays loaded when a host
# unloads it, since worker threads and canvases that hosts hold may outlive that. Its sources are added by the caller.
set(version_resource ${CMAKE_CURRENT_LIST_DIR}/version.rc.in)

function(brantel_shared_library name)
  add_library(${name} SHARED)
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${name} PRIVATE Threads::Threads ${CMAKE_DL_LIBS})
  # While the first number is 0 the second one tells versions apart that do not go together.
  set_target_properties(${name} PROPERTIES
    BRANTEL_EXPORTS "${ARGN}" VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR} ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  if(WIN32)
    list(JOIN ARGN "\n  " names)
    set(definition ${CMAKE_CURRENT_BINARY_DIR}/${name}.def)
    file(CONFIGURE OUTPUT ${definition} CONTENT "LIBRARY @name@.dll\nEXPORTS\n  @names@\n" @ONLY)
    configure_file(${version_resource} ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc @ONLY)
    target_sources(${name} PRIVATE ${definition} ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc)
    set_target_properties(${name} PROPERTIES PREFIX "")
    add_custom_command(TARGET ${name} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:opencv_core> $<TARGET_FILE_DIR:${name}>)
  else()
    list(JOIN ARGN "; " names)
    set(version_script ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
    file(CONFIGURE OUTPUT ${version_script} CONTENT "{ global: @names@; local: *; };\n" @ONLY)
    target_link_options(${name} PRIVATE -Wl,--version-script=${version_script} -Wl,-z,nodelete)
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${version_script})
    if(NOT BRANTEL_SANITIZE)
      target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
  endif()
endfunction()
