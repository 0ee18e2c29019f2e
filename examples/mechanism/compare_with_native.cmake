# Runs the mechanism with the DLL under Wine and with the native library, and compares the two
# printouts byte for byte. Skips when there is no native build.
if(NOT EXISTS "${NATIVE_PROGRAM}")
  message("SKIP: no native mechanism at ${NATIVE_PROGRAM}; build the native preset first")
  return()
endif()

set(wine_out "${WORK_DIR}/mechanism_wine.txt")
set(native_out "${WORK_DIR}/mechanism_native.txt")
file(REMOVE "${wine_out}" "${native_out}")

execute_process(COMMAND "${WINE_RUN}" "${WINDOWS_PROGRAM}" "${wine_out}"
                RESULT_VARIABLE wine_result)
execute_process(COMMAND "${NATIVE_PROGRAM}" "${native_out}" RESULT_VARIABLE native_result)
if(NOT wine_result EQUAL 0 OR NOT native_result EQUAL 0)
  message(FATAL_ERROR "a run failed or left a loop open: Wine ${wine_result}, native ${native_result}")
endif()

execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${native_out}" "${wine_out}"
                RESULT_VARIABLE compare_result)
if(NOT compare_result EQUAL 0)
  message(FATAL_ERROR "the DLL under Wine and the native library printed different positions")
endif()
