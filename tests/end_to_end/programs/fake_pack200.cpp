// Stands in for the tool that packs a runtime's archives: "PACKED JAR" writes what fake_unpack200 unpacks.

#include "packing.h"

#include <fstream>
#include <iterator>

int main(int argc, char **argv) {
    if (argc != 3) {
        return 2;
    }
    std::ifstream jar(argv[2], std::ios::binary);
    std::ofstream packed(argv[1], std::ios::binary);
    packed << kestrav::tests::pack(std::string(std::istreambuf_iterator<char>(jar), {}));
    packed.close();
    return jar && packed ? 0 : 1;
}
