# Every target of ours links lumaverdine_options: the warnings, the strict Qt definitions, the sanitizers.
option(LUMAVERDINE_WERROR "Treat warnings as errors" OFF)
set(LUMAVERDINE_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")
option(LUMAVERDINE_FUZZ "Build the fuzz targets for libFuzzer, which only clang has" OFF)

add_library(lumaverdine_options INTERFACE)
target_compile_options(lumaverdine_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Woverloaded-virtual
    $<$<BOOL:${LUMAVERDINE_WERROR}>:-Werror>)
target_compile_definitions(lumaverdine_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_include_directories(lumaverdine_options INTERFACE ${PROJECT_SOURCE_DIR})

if(LUMAVERDINE_SANITIZE)
    add_compile_options(-fsanitize=${LUMAVERDINE_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${LUMAVERDINE_SANITIZE})
endif()
# A changed line may have eight programs linked anew, which the compiler's own linker takes four times as long for.
find_program(lld ld.lld)
if(lld AND CMAKE_BUILD_TYPE STREQUAL "Debug")
    add_link_options(-fuse-ld=lld)
endif()
if(LUMAVERDINE_FUZZ)
    # A fuzzer has to see which branches an input takes, and to stop at the first thing that is wrong.
    add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-recover=all)
endif()
