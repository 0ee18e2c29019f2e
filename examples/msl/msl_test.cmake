# Runs msl over the example library that `msl demo` writes: list, check, a damaged copy (the
# check must fail) and the contact sheet.
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
set(lib "${WORK_DIR}/demo.msl")

function(run expected_status)
  execute_process(COMMAND "${MSL}" ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out
                  ERROR_VARIABLE err)
  message("msl ${ARGN}: exit ${status}\n${out}${err}")
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "msl ${ARGN}: exit ${status}, expected ${expected_status}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

function(expect pattern)
  if(NOT out MATCHES "${pattern}")
    message(FATAL_ERROR "no \"${pattern}\" in:\n${out}")
  endif()
endfunction()

run(0 demo "${lib}")
run(0 list "${lib}")
expect("0  Brushed steel +diffuse 0.560 0.580 0.610  opacity 1.000\n")
expect("2  Glass +diffuse 0.900 0.950 1.000  opacity 0.120\n")
expect("5  Green checker .*  slot 0: 64x64\n")
run(0 check "${lib}")
expect("6 materials load")

# Four stray bytes behind the last entry read as a count far beyond the end of the file.
file(SIZE "${lib}" size)
file(COPY_FILE "${lib}" "${WORK_DIR}/damaged.msl")
file(APPEND "${WORK_DIR}/damaged.msl" "junk")
run(1 check "${WORK_DIR}/damaged.msl")
set(stop "loading stops at byte ${size} \\(entry 6\\): the byte count [0-9]+ reaches beyond")
expect("6 materials load\n${stop}")

run(2 check "${WORK_DIR}/missing.msl")
run(2 list)

run(0 sheet "${lib}" "${WORK_DIR}/sheet.png")
file(SIZE "${WORK_DIR}/sheet.png" png_size)
if(png_size LESS 1000)
  message(FATAL_ERROR "the sheet holds only ${png_size} bytes")
endif()
