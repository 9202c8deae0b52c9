# What users run talks to strangers on the network. Debian's compiler makes position-independent
# programs by itself; these are the rest of what it hardens its own packages with.
add_compile_options("$<$<CONFIG:RelWithDebInfo>:-fstack-protector-strong;-D_FORTIFY_SOURCE=2>")
add_link_options("$<$<CONFIG:RelWithDebInfo>:LINKER:-z,relro,-z,now>")
