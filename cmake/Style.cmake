# Style checked by tools: clang-format over every C++ file of the project (targets "format"
# and "format-check"), and clang-tidy through scripts/tidy (configured in .clang-tidy).
find_program(BULKSMS_CLANG_FORMAT NAMES clang-format)
if(BULKSMS_CLANG_FORMAT)
  file(GLOB_RECURSE BULKSMS_STYLED_FILES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/src/*.h ${CMAKE_SOURCE_DIR}/src/*.cpp
    ${CMAKE_SOURCE_DIR}/sim/*.h ${CMAKE_SOURCE_DIR}/sim/*.cpp
    ${CMAKE_SOURCE_DIR}/tests/*.h ${CMAKE_SOURCE_DIR}/tests/*.cpp
    ${CMAKE_SOURCE_DIR}/bench/*.h ${CMAKE_SOURCE_DIR}/bench/*.cpp)
  add_custom_target(format
    COMMAND ${BULKSMS_CLANG_FORMAT} -i ${BULKSMS_STYLED_FILES}
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    COMMENT "Formatting every C++ file with clang-format"
    VERBATIM)
  add_custom_target(format-check
    COMMAND ${BULKSMS_CLANG_FORMAT} --dry-run -Werror ${BULKSMS_STYLED_FILES}
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    COMMENT "Checking that every C++ file is formatted as clang-format would"
    VERBATIM)
endif()
