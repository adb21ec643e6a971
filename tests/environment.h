// What tests need of the process that standard C++ does not offer.
#pragma once

#include <string>

void setEnvironment(const std::string& name, const std::string& value);
void unsetEnvironment(const std::string& name);

/// Removes a directory also if files in it are still open.
void removeDirectory(const std::string& path);
