#include "scratch.h"

#include "environment.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace {

class Directory {
public:
    Directory()
    {
        // With the drive, where there are drives.
        m_sources = std::filesystem::current_path() / TLLOGICS_SOURCE_DIR / "tests";
        std::random_device random;
        m_path = std::filesystem::temp_directory_path() /
                 ("tllogics_" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(m_path);
        std::filesystem::current_path(m_path);
        setEnvironment("TLLOGS", path("logs"));
        unsetEnvironment("LOGFILE");
        unsetEnvironment("TLCONFIG");
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory()
    {
        std::error_code ignored;
        std::filesystem::current_path(m_path.parent_path(), ignored);
        removeDirectory(m_path.string());
    }

    std::string path(const std::string& name) const { return (m_path / name).string(); }
    const std::filesystem::path& sources() const { return m_sources; }

private:
    std::filesystem::path m_path;
    std::filesystem::path m_sources;
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
    return directory.path(name);
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
    return contentOf(directory.sources() / name);
}
