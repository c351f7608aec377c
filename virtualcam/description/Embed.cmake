# Writes the file INPUT as the byte array kEmbeddedDescription into the source OUTPUT.
file(READ ${INPUT} bytes HEX)
string(LENGTH "${bytes}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${OUTPUT}
  "#include \"virtualcam/device/EmbeddedDescription.h\"\n\nnamespace virtualcam {\n"
  "const unsigned char kEmbeddedDescription[] = {\n${bytes}};\n"
  "const std::size_t kEmbeddedDescriptionSize = ${size};\n}\n")
