#include "scratch.h"

#include "environment.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace {

struct Directory {
    Directory()
    {
        std::random_device random;
        path = std::filesystem::temp_directory_path() /
               ("tllogics_" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(path);
        std::filesystem::current_path(path);
        setEnvironment("TLLOGS", (path / "logs").string());
        for (const char* const name : {"LOGFILE", "TLCONFIG"})
            setEnvironment(name, "");
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory()
    {
        std::error_code ignored;
        std::filesystem::current_path(path.parent_path(), ignored);
        removeDirectory(path.string());
    }

    // With the drive, where there are drives.
    const std::filesystem::path sources = std::filesystem::current_path() / TLLOGICS_SOURCE_DIR;
    std::filesystem::path path;
};

std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Built before all objects of the library, and destroyed after them.
[[gnu::init_priority(101)]] const Directory directory;

} // namespace

std::string scratch::path(const std::string& name)
{
    return (directory.path / name).string();
}

std::string scratch::write(const std::string& name, const std::string& content)
{
    const std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::string scratch::read(const std::string& name)
{
    return contentOf(path(name));
}

std::string scratch::source(const std::string& name)
{
    std::string content = contentOf(directory.sources / name);
    std::erase(content, '\r');
    return content;
}
