# cmake -DIMAGE=kernels.fatbin -DVERSION=13000 -DSOURCE=fat_binary.cpp -P embed.cmake
# Writes IMAGE as the C++ source of what fat_binary.h declares.
file(READ ${IMAGE} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${SOURCE} "#include \"cuda/driver/fat_binary.h\"

namespace brantel::cuda_driver {

alignas(16) const unsigned char fatBinary[] = {
${bytes}};
const int fatBinaryVersion = ${VERSION};

}  // namespace brantel::cuda_driver
")
