// Runs a fuzz target over the inputs of a folder: replay FOLDER. An input that breaks it ends the program, as
// under the fuzzer, and its name is the last line.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::set<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) inputs.insert(entry.path());
    for (const std::filesystem::path& path : inputs) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return inputs.empty();
}
