# The studio's scripted session under Wine: the mechanism prints one turn of its drive, then the
# studio goes through its tools, the animation, the raytracer and its documents, checking each
# step against that printout and what it shows. Fails when the studio reports a failed check.
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

execute_process(COMMAND ${WINE_RUN} "${MECHANISM}" "${WORK_DIR}/mechanism.txt"
                RESULT_VARIABLE mechanism_result)
if(NOT mechanism_result EQUAL 0)
  message(FATAL_ERROR "the mechanism failed (${mechanism_result})")
endif()

execute_process(COMMAND ${WINE_RUN} "${STUDIO}" --script "${WORK_DIR}"
                        --mechanism "${WORK_DIR}/mechanism.txt"
                RESULT_VARIABLE studio_result TIMEOUT 240)
if(EXISTS "${WORK_DIR}/report.txt")
  file(READ "${WORK_DIR}/report.txt" report)
  message("${report}")
else()
  message("no report.txt in ${WORK_DIR}")
endif()
if(NOT studio_result EQUAL 0)
  message(FATAL_ERROR "the scripted session failed (${studio_result})")
endif()
