#include "bench/log_folder.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace bench {

namespace {

namespace fs = std::filesystem;

const fs::path LOGS = "bench_logs";
const fs::path BARE = "bench_bare";

std::vector<fs::path> logFiles()
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(LOGS)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    return files;
}

std::string contentFrom(const fs::path& path, std::uintmax_t start)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(start));
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

void useLogFolder()
{
    for (const fs::path& folder : {LOGS, BARE}) {
        fs::remove_all(folder);
        fs::create_directory(folder);
    }
    setEnvironment("TLLOGS", LOGS.string());
}

BareWrites::BareWrites(const Work& work)
{
    std::map<fs::path, std::uintmax_t> sizes;
    for (const fs::path& path : logFiles())
        sizes[path] = fs::file_size(path);
    work();
    for (const fs::path& path : logFiles()) {
        const std::string added = contentFrom(path, sizes[path]);
        if (added.empty())
            continue;
        const BareFile& file = m_files.emplace_back((BARE / path.filename()).string());
        for (std::size_t start = 0; start < added.size();) {
            const std::size_t end = added.find('\n', start) + 1;
            m_lines.emplace_back(&file, added.substr(start, end - start));
            start = end;
        }
    }
}

std::string BareWrites::name() const
{
    return std::to_string(m_lines.size()) + " " + BARE_APPEND;
}

void BareWrites::operator()() const
{
    for (const auto& [file, line] : m_lines)
        file->append(line);
}

void emptyLogs()
{
    for (const fs::path& path : logFiles())
        fs::resize_file(path, 0);
}

} // namespace bench
