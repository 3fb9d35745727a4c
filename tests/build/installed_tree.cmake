# Installs the build and moves what was installed to ${root}: whatever still points to the place of installation fails.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/as_installed
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${WORK_DIR}/as_installed ${WORK_DIR}/moved)
set(root ${WORK_DIR}/moved)
