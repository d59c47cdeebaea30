# Runs the engine on one transcript: a fresh scratch folder holding NAME.ini as the engine's
# quillfern.ini (when there is one) and the files listed in NAME.files, NAME.in on standard
# input, and the output compared with NAME.out byte for byte. Two optional companions:
# NAME.sed, sed -E commands applied to the output and the log first, to blank out what the clock
# decides (the time column of thinking lines), and NAME.log, compared byte for byte with the
# game log the engine left in the scratch folder.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
if(EXISTS ${SOURCE_DIR}/${NAME}.ini)
    file(COPY_FILE ${SOURCE_DIR}/${NAME}.ini ${WORK_DIR}/quillfern.ini)
endif()
if(EXISTS ${SOURCE_DIR}/${NAME}.files)
    file(STRINGS ${SOURCE_DIR}/${NAME}.files extra_files)
    foreach(extra ${extra_files})
        file(COPY ${SOURCE_DIR}/${extra} DESTINATION ${WORK_DIR})
    endforeach()
endif()
execute_process(COMMAND ${ENGINE}
                WORKING_DIRECTORY ${WORK_DIR}
                INPUT_FILE ${SOURCE_DIR}/${NAME}.in
                OUTPUT_FILE ${WORK_DIR}/${NAME}.actual
                ERROR_FILE ${WORK_DIR}/${NAME}.stderr
                RESULT_VARIABLE status
                TIMEOUT 100)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NAME}: the engine ended with status ${status}")
endif()
# Compares a file the engine wrote, masked by NAME.sed when there is one, with the expected one.
function(check got expected)
    if(EXISTS ${SOURCE_DIR}/${NAME}.sed)
        execute_process(COMMAND sed -E -f ${SOURCE_DIR}/${NAME}.sed ${got} OUTPUT_FILE ${got}.masked)
        set(got ${got}.masked)
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${got} ${expected} RESULT_VARIABLE differs)
    if(differs)
        execute_process(COMMAND diff -u ${expected} ${got})
        message(FATAL_ERROR "${NAME}: ${got} differs from ${expected}")
    endif()
endfunction()

check(${WORK_DIR}/${NAME}.actual ${SOURCE_DIR}/${NAME}.out)
if(EXISTS ${SOURCE_DIR}/${NAME}.log)
    if(NOT EXISTS ${WORK_DIR}/quillfern.log)
        message(FATAL_ERROR "${NAME}: the engine wrote no game log")
    endif()
    check(${WORK_DIR}/quillfern.log ${SOURCE_DIR}/${NAME}.log)
endif()
