// A plain archive in the ustar form, which every system reads.
#pragma once

#include "tools/calendar.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace tllog {

class TarWriter {
public:
    /// Throws std::runtime_error if the file can't be written.
    explicit TarWriter(const std::filesystem::path& path);

    /// "size" bytes must follow by write().
    void begin(const std::string& name, std::uint64_t size, std::int64_t secondsSince1970);
    void write(std::string_view bytes);
    void end();
    void close();

private:
    std::filesystem::path m_path;
    std::ofstream m_stream;
    std::uint64_t m_left = 0; // of the member that is being written
    std::uint64_t m_size = 0;
};

} // namespace tllog
