# Writes the bytes of INPUT as a C++ source: OUTPUT defines NAME and NAME##Size, as declared in
# HEADER. Run as a script at build time, so that no tool but CMake is needed.
file(READ ${INPUT} bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "(................................................................................)"
    "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include \"${HEADER}\"\n
const unsigned char ${NAME}[] = {\n${bytes}};
const std::size_t ${NAME}Size = sizeof(${NAME});\n")
