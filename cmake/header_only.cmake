# header_only(TARGET FOLDER/HEADER): a library of headers from the building machine, for a cross-build. Only its own folder
# gets on the include path, never the whole of /usr/include with the headers of another system.
function(header_only target header)
  find_path(${target}_root ${header} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  get_filename_component(folder ${header} DIRECTORY)
  set(include ${CMAKE_CURRENT_BINARY_DIR}/include)
  file(MAKE_DIRECTORY ${include})
  file(CREATE_LINK ${${target}_root}/${folder} ${include}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${include})
endfunction()
