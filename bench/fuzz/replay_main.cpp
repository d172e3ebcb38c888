// Runs a fuzz target's entry point over files, as the normal build's regression test: every
// file named, and every file inside a folder named, in name order.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const fs::path arg(argv[i]);
        std::error_code error;
        if (fs::is_directory(arg, error)) {
            for (const auto& entry : fs::recursive_directory_iterator(arg, error))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else if (fs::is_regular_file(arg, error)) {
            inputs.push_back(arg);
        } else {
            std::fprintf(stderr, "no such file or folder: %s\n", argv[i]);
            return 2;
        }
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "nothing to replay\n");
        return 2;
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& input : inputs) {
        std::ifstream in(input, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        std::printf("replay %s (%zu bytes)\n", input.c_str(), bytes.size());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return 0;
}
