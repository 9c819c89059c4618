# Run at build time: writes OUTPUT from TEMPLATE with the VERSION and the commit id of SOURCE_DIR, and leaves it
# untouched when it already says so. The commit is "unknown" outside a repository of this project's own.
set(COMMIT unknown)
if(GIT_EXECUTABLE)
    execute_process(COMMAND ${GIT_EXECUTABLE} -C ${SOURCE_DIR} rev-parse --show-prefix --short HEAD
        OUTPUT_VARIABLE answer ERROR_QUIET RESULT_VARIABLE result)
    # A prefix before the commit means that SOURCE_DIR lies inside somebody else's repository.
    if(result EQUAL 0 AND answer MATCHES "^\n([0-9a-f]+)\n$")
        set(COMMIT ${CMAKE_MATCH_1})
    endif()
endif()
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
