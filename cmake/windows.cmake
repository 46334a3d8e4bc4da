# What a build for Windows needs beyond the common description.

# scripts/opencv-windows puts OpenCV here unless told otherwise.
if(NOT OpenCV_DIR)
  if(DEFINED ENV{BRANTEL_OPENCV_WINDOWS})
    set(_prefix "$ENV{BRANTEL_OPENCV_WINDOWS}")
  elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(_prefix "$ENV{XDG_CACHE_HOME}/brantel/opencv-4.6.0-mingw")
  else()
    set(_prefix "$ENV{HOME}/.cache/brantel/opencv-4.6.0-mingw")
  endif()
  if(CMAKE_CROSSCOMPILING AND NOT EXISTS "${_prefix}/lib/cmake/opencv4/OpenCVConfig.cmake")
    message(FATAL_ERROR "No OpenCV for Windows in ${_prefix}: run scripts/opencv-windows first, "
      "or set OpenCV_DIR or the environment variable BRANTEL_OPENCV_WINDOWS.")
  endif()
  set(OpenCV_DIR "${_prefix}/lib/cmake/opencv4" CACHE PATH "OpenCV's package description")
endif()

enable_language(RC)

# Windows looks for DLLs beside the program: programs, Brantel.dll and OpenCV's DLL share one folder.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
