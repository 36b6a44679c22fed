# Gives a test executable the HTTP server fixture of HttpServer.h.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(TTML_TEST_SUPPORT_DIR "${CMAKE_CURRENT_LIST_DIR}")

function(ttml_add_http_server target)
    target_sources(${target} PRIVATE "${TTML_TEST_SUPPORT_DIR}/HttpServer.cpp")
    target_include_directories(${target} PRIVATE "${TTML_TEST_SUPPORT_DIR}")
    target_compile_definitions(${target} PRIVATE
        "TTML_TEST_PYTHON=\"${Python3_EXECUTABLE}\""
        "TTML_TEST_HTTP_SERVER=\"${TTML_TEST_SUPPORT_DIR}/http_server.py\""
    )
endfunction()
