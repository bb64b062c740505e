# The xvosc tool end to end (when the tool is built).
if(TARGET xvosc_tool)
  add_test(NAME g726.tool_roundtrip
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/g726/tool_roundtrip.sh $<TARGET_FILE:xvosc_tool>)
  set_tests_properties(g726.tool_roundtrip PROPERTIES LABELS g726)
endif()
