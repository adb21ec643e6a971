// Runs files, or all files of directories, through a fuzz target, built by any compiler.
#include "fuzz/bytes.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

void run(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    std::fprintf(stderr, "%s\n", file.string().c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
}

} // namespace

int main(int count, char** arguments)
{
    int runs = 0;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::is_directory(arguments[i])) {
            run(arguments[i]);
            ++runs;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            run(entry.path());
            ++runs;
        }
    }
    std::printf("%d inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
