// Many files with one command: named, found in folders, or told on standard input; several at a time; what
// each has to say in the order of the files.
#pragma once

#include "tools/tarn-media/media_tool.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

struct BatchOptions {
    std::vector<std::string> files;
    bool recursive = false;  ///< folders stand for the media files below them
    /// Of more kinds of media files than the library's own; asked where a folder is gone through.
    std::function<std::string()> endings;
    bool fromInput = false;  ///< names come on standard input, one a line
    bool byZeros = false;    ///< and end with a zero there
    bool jsonLines = false;  ///< one object a file, on a line of its own
    uint32_t jobs = 1;
};

/// What came of one file.
struct FileResult {
    int code = EXIT_FINE;
    std::string text;   ///< for people, with line breaks
    std::string error;  ///< one complaint without the file's name
    nlohmann::json json = nlohmann::json::object();
};

/// Also for a single object: bytes that are no UTF-8 become replacement characters, JSON has no other way.
std::string JsonText(const nlohmann::json& json, bool isLine);

/// Calls `work` for each file, on `jobs` threads, and prints. The highest exit code of all.
int RunBatch(const BatchOptions& options, const std::function<FileResult(const std::string& file)>& work);
