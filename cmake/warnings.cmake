# What every target of this project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(tessera_options INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  # Fused multiply-adds would make results differ from machine to machine.
  target_compile_options(tessera_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -ffp-contract=off)
  if(TESSERA_WERROR)
    target_compile_options(tessera_options INTERFACE -Werror)
  endif()
  if(TESSERA_SANITIZE)
    # Instrumented code looks uninitialized to GCC where it is not.
    target_compile_options(tessera_options INTERFACE -fsanitize=${TESSERA_SANITIZE} -fno-omit-frame-pointer
                           -fno-sanitize-recover=all)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      target_compile_options(tessera_options INTERFACE -Wno-maybe-uninitialized)
    endif()
    target_link_options(tessera_options INTERFACE -fsanitize=${TESSERA_SANITIZE})
  endif()
endif()
