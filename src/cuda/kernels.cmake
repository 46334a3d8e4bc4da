# brantel_cuda_kernels: the kernels' machine code. Compute capability 3.0 where the toolkit still has it, else its
# oldest target; the portable code beside it is what newer devices compile at load time.
set(BRANTEL_CUDA_ARCHITECTURE "" CACHE STRING "Compute capability to build the kernels for, e.g. 75")
set(architecture ${BRANTEL_CUDA_ARCHITECTURE})
if(NOT architecture)
  set(architecture 30)  # toolkits that know it cannot list their targets
  execute_process(COMMAND ${BRANTEL_NVCC} --list-gpu-code
    OUTPUT_VARIABLE listed RESULT_VARIABLE failed ERROR_QUIET)
  string(REGEX MATCHALL "sm_[0-9]+" codes "${listed}")
  if(NOT failed AND codes)
    list(TRANSFORM codes REPLACE "sm_" "")
    list(SORT codes COMPARE NATURAL)
    list(GET codes 0 architecture)
  endif()
endif()
message(STATUS "CUDA kernels: sm_${architecture} and compute_${architecture}")

# -fmad=false: no result may depend on the compiler's contraction; fused steps are spelled out in the text.
set(object ${CMAKE_CURRENT_BINARY_DIR}/kernels${CMAKE_CXX_OUTPUT_EXTENSION})
add_custom_command(OUTPUT ${object}
  COMMAND ${BRANTEL_NVCC} -c ${CMAKE_CURRENT_SOURCE_DIR}/kernels.cu -o ${object} -I${PROJECT_SOURCE_DIR}/src
    -ccbin ${CMAKE_CXX_COMPILER} -std=c++17 -O3 -fmad=false -Xcompiler -fPIC,-fvisibility=hidden
    -gencode=arch=compute_${architecture},code=[sm_${architecture},compute_${architecture}]
  DEPENDS kernels.cu ${PROJECT_SOURCE_DIR}/src/gpu/kernels.h ${PROJECT_SOURCE_DIR}/src/gpu/kernels.inc
  COMMENT "Building the CUDA kernels" VERBATIM)
add_library(brantel_cuda_kernels STATIC ${object})
set_target_properties(brantel_cuda_kernels PROPERTIES LINKER_LANGUAGE CXX)
