# Headless Qt tests: the offscreen platform; under AddressSanitizer, full stacks so that the
# suppression recognises the platform plugin's own leak behind Qt's frames.
set(ORVANE_QT_TEST_ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
if(ORVANE_SANITIZE STREQUAL "address")
  list(APPEND ORVANE_QT_TEST_ENVIRONMENT "ASAN_OPTIONS=fast_unwind_on_malloc=0"
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp")
endif()

# Screen and shell tests. They feed the shared client directly and watch what it sends through
# its request tap.
function(screens_test name)
  add_executable(${name} ${name}.cpp)
  target_link_libraries(${name} PRIVATE ${ARGN} orvane_ipc_instances orvane_icons Qt5::Test)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "screens" ENVIRONMENT "${ORVANE_QT_TEST_ENVIRONMENT}" TIMEOUT 120)
endfunction()
