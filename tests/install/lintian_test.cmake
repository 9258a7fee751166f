# The Debian package in FOLDER follows Debian's rules, but for what it says why it does not.
file(GLOB package "${FOLDER}/*.deb")
execute_process(COMMAND "${LINTIAN}" --profile debian --fail-on error,warning "${package}"
                COMMAND_ERROR_IS_FATAL ANY)
