# Runs the engine on one transcript: a fresh scratch folder holding NAME.ini as the engine's
# quillfern.ini (when there is one) and the files listed in NAME.files, NAME.in on standard
# input, and the output compared with NAME.out byte for byte.
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
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/${NAME}.actual
                        ${SOURCE_DIR}/${NAME}.out
                RESULT_VARIABLE differs)
if(differs)
    execute_process(COMMAND diff -u ${SOURCE_DIR}/${NAME}.out ${WORK_DIR}/${NAME}.actual)
    message(FATAL_ERROR "${NAME}: output differs from ${NAME}.out")
endif()
