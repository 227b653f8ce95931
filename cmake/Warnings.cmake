# Warnings are errors on every toolchain.
add_compile_options(-Wall -Wextra -Werror)

if(PUMEX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
