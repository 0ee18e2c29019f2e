# Renders the showcase small with the DLL under Wine and with the native library, and
# compares the two PNG files byte for byte. Skips when there is no native build.
if(NOT EXISTS "${NATIVE_PROGRAM}")
  message("SKIP: no native showcase at ${NATIVE_PROGRAM}; build the native preset first")
  return()
endif()

set(size 160x100)
set(wine_image "${WORK_DIR}/showcase_wine.png")
set(native_image "${WORK_DIR}/showcase_native.png")
file(REMOVE "${wine_image}" "${native_image}")

execute_process(COMMAND "${WINE_RUN}" "${WINDOWS_PROGRAM}" --size ${size} --out "${wine_image}"
                RESULT_VARIABLE wine_result)
execute_process(COMMAND "${NATIVE_PROGRAM}" --size ${size} --out "${native_image}"
                RESULT_VARIABLE native_result)
if(NOT wine_result EQUAL 0 OR NOT native_result EQUAL 0)
  message(FATAL_ERROR "rendering failed: Wine ${wine_result}, native ${native_result}")
endif()

execute_process(COMMAND "${NATIVE_PROGRAM}" --compare "${native_image}" "${wine_image}"
                RESULT_VARIABLE compare_result)
if(NOT compare_result EQUAL 0)
  message(FATAL_ERROR "the DLL under Wine and the native library drew different images")
endif()
