# Copies the text FROM to TO, with the line ends of Windows.
file(READ "${FROM}" text)
file(CONFIGURE OUTPUT "${TO}" CONTENT "${text}" @ONLY NEWLINE_STYLE CRLF)
