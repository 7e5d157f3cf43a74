// Runs a fuzz target over saved inputs: the regression test of its corpus.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

namespace {

int runFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    // A copy of exactly the input's size, so that ASan sees any read past it.
    std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(data.empty() ? nullptr : data.data(), data.size());
    return 0;
}

} // namespace

// Arguments: files or directories of inputs. Prints "N passed, 0 failed" when
// every input ran; a crash or sanitizer report ends the program instead.
int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            std::vector<std::filesystem::path> files;
            for (const auto& entry : std::filesystem::directory_iterator(arg))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            std::sort(files.begin(), files.end());
            for (const auto& file : files) {
                failed += runFile(file);
                ++count;
            }
        } else {
            failed += runFile(arg);
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "no inputs\n");
        return 1;
    }
    std::printf("%d passed, %d failed\n", count - failed, failed);
    return failed == 0 ? 0 : 1;
}
