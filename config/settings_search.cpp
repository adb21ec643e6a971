// Where tllogics.ini is looked for.
#include "config/settings.h"

#include "diag/log.h"
#include "platform/file_reading.h"
#include "platform/files.h"
#include "platform/modules.h"
#include "text/compose.h"

namespace {

bool opens(const std::string& path)
{
    if (platform::canRead(path)) {
        logNote(
            pieces("CTLLogics::getIniFileSettings: About to read settings from configuration file: ", path));
        return true;
    }
    logNote(
        pieces("CTLLogics::getIniFileSettings: Settings file \"", path, "\" can't be opened for reading."));
    return false;
}

} // namespace

std::string findSettingsFile()
{
    static constexpr const char* NAME = "tllogics.ini";
    const std::string separator = platform::pathSeparator();
    const std::string windows = platform::windowsDirectory();
    const std::string second = compose(".", separator, NAME);
    const std::string third = getRuntimePath() + NAME;
    const std::string fourth = compose(windows, separator, NAME);

    const auto directory = platform::environmentVariable("TLCONFIG");
    if (directory) {
        logNote(pieces("CTLLogics::getIniFileSettings: Read environment variable TLCONFIG: ", *directory));
        const std::string first = compose(*directory, separator, NAME);
        logNote(pieces("CTLLogics::getIniFileSettings: First settings file location (the TLCONFIG "
                       "environment variable directory): ",
                       first));
        if (opens(first))
            return first;
    } else {
        logNote("CTLLogics::getIniFileSettings: Environment variable TLCONFIG is not defined");
    }

    logNote(pieces("CTLLogics::getIniFileSettings: Second settings file location (the application "
                   "directory): ",
                   second));
    if (opens(second))
        return second;

    logNote(
        pieces("CTLLogics::getIniFileSettings: Third settings file location (the DLL directory): ", third));
    if (opens(third))
        return third;

    if (!windows.empty()) {
        logNote(pieces("CTLLogics::getIniFileSettings: Fourth settings file location (the Windows "
                       "directory): ",
                       fourth));
        if (opens(fourth))
            return fourth;
    }

    logNote("CTLLogics::getIniFileSettings: About to assign default settings since no configuration file "
            "was found.");
    return fourth;
}

std::string getRuntimePath()
{
    const std::string path = platform::ownModulePath(LIBRARY_FILE_NAME);
    if (path.empty()) {
        logError(pieces("ctllogics.getRuntimePath: Failed to get full path for runtime module: ",
                        LIBRARY_FILE_NAME));
        return "";
    }
    std::size_t length = path.size();
    while (length > 0 && !platform::isPathSeparator(path[length - 1]))
        --length;
    if (length == 0)
        logError(pieces("ctllogics.getRuntimePath: Failed to extract path part from: ", path));
    return path.substr(0, length);
}
