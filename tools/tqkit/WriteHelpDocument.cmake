# Runs tqkit to print one of the documents made from its commands' help
# (`help --man`, `help --completion bash`) into a file of the build tree.
# A script rather than a shell redirection in the custom command, so that no
# generator's shell is assumed and a failing run leaves no half-written file.
#   cmake -DTQKIT=path [-DEMULATOR=list] -DARGUMENTS=list -DOUTPUT=file -P WriteHelpDocument.cmake
execute_process(
  COMMAND ${EMULATOR} ${TQKIT} ${ARGUMENTS}
  OUTPUT_FILE ${OUTPUT}.new
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  file(REMOVE ${OUTPUT}.new)
  message(FATAL_ERROR "tqkit ${ARGUMENTS} failed (${status}): ${errors}")
endif()
file(RENAME ${OUTPUT}.new ${OUTPUT})
