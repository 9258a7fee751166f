# The program in the README is the one that is built.
file(READ "${README}" readme)
file(READ "${EXAMPLE}" example)
string(FIND "${readme}" "${example}" place)
if(place EQUAL -1)
    message(FATAL_ERROR "README.md does not show ${EXAMPLE}")
endif()
