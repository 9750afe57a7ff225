# Runs PROG with ARGS (words separated by blanks, as on a command line) and checks its exit code (EXPECT_RC) and that its output,
# stdout and stderr together, holds the text EXPECT_LINE.
separate_arguments(args UNIX_COMMAND "${ARGS}")
execute_process(COMMAND ${PROG} ${args} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                ERROR_VARIABLE out)
if(NOT rc EQUAL EXPECT_RC)
  message(FATAL_ERROR "exit code ${rc}, expected ${EXPECT_RC}; output:\n${out}")
endif()
string(FIND "${out}" "${EXPECT_LINE}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "output lacks '${EXPECT_LINE}':\n${out}")
endif()
