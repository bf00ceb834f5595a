# How everything for 32-bit Windows is compiled and linked.

# Texts and numbers are worked on with SSE2, which every processor has that a Windows of today runs on; the compiler then
# aligns the stack by itself, because hosts need not.
add_compile_options(-msse2 -mfpmath=sse)
add_compile_definitions(NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)

# The same sources give the same bytes, wherever they lie and whenever they are built.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
add_link_options(LINKER:--no-insert-timestamp LINKER:--strip-all)

# Nothing is imported but what every Windows has; the file may be loaded anywhere, and its data is not executed.
add_link_options(-static LINKER:--dynamicbase LINKER:--nxcompat LINKER:--gc-sections)
add_compile_options(-ffunction-sections -fdata-sections)
