#pragma once

/// \file
/// Result files that are written in one go at the end of the work, and whether they can be, before it.

#include <functional>
#include <string>

namespace brellix::app {

/// Throws `Failure` where nothing can be written to `path`. What is there stays as it is.
void requireWritable(const std::string& path);

/// Throws `Failure` where `writeWhole` could put no file at `path`. What is there stays as it is.
void requireReplaceable(const std::string& path);

/// Lets `write` write a file of another name beside `path`, which then takes the place and the permissions of
/// what was there. A link stays one, and what it leads to is replaced; a device is written to itself.
/// Throws `Failure`, as `write` may, too: then an older file stays as it is, and nothing unfinished is left.
void writeWhole(const std::string& path, const std::function<void(const std::string& path)>& write);

}  // namespace brellix::app
