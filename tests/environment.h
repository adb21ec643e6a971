// What tests need of the process that standard C++ does not offer.
#pragma once

#include <cstddef>
#include <string>

/// An empty value removes the variable.
void setEnvironment(const std::string& name, const std::string& value);

/// Removes a directory also if files in it are still open.
void removeDirectory(const std::string& path);

/// Descriptors or handles that the process has open.
std::size_t openHandles();

/// A sanitizer keeps what was freed for a while.
constexpr bool MEMORY_TELLS = TLLOGICS_SLOWDOWN == 1;

/// Bytes of memory that the process has of the machine.
std::size_t memoryInUse();

/// Bytes of memory that each load and unload of a library keeps, whoever keeps them.
extern const std::size_t keptByALoad;
