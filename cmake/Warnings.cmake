# Flags of every target of ours.

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options(-Wthread-safety)
endif()
if(TTML_WERROR)
    add_compile_options(-Werror)
endif()

# Texts must not depend on where the tree was built: file names in log lines, assertions and debug
# information are relative to the repository's root.
add_compile_options("-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")

if(TTML_SANITIZE STREQUAL address)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(TTML_SANITIZE STREQUAL thread)
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(TTML_SANITIZE STREQUAL fuzzer)
    # What libFuzzer needs to see of the code; libFuzzer itself is linked to its targets alone.
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(NOT TTML_SANITIZE STREQUAL "")
    message(FATAL_ERROR "TTML_SANITIZE is '${TTML_SANITIZE}'; it must be empty, address, thread or fuzzer")
endif()
