# Compile options shared by every target of this project; never exported to users of the library.
add_library(qv_options INTERFACE)
target_compile_options(qv_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=" -fno-omit-frame-pointer)
if(QV_WARNINGS_AS_ERRORS)
  target_compile_options(qv_options INTERFACE -Werror)
endif()
if(QV_SANITIZE)
  # -fsanitize=undefined alone does not see a float that does not fit its integer.
  target_compile_options(qv_options INTERFACE "-fsanitize=${QV_SANITIZE}"
                         -fno-sanitize-recover=all)
  target_link_options(qv_options INTERFACE "-fsanitize=${QV_SANITIZE}")
endif()
