#include "tools/tarn-media/batch.h"

#include "fileio/extensions.h"
#include "platform/file.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <mutex>
#include <thread>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char OWN_ENDINGS[] = "wav;wave;bwf;w64;rf64;aif;aiff;aifc;";

/// The files below a folder, sorted, so that every run has one order.
void AddFolder(const std::string& folder, const std::string& endings, std::vector<std::string>& files) {
    std::vector<std::string> found;
    std::error_code error;
    for (fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, error),
         end;
         at != end; at.increment(error)) {
        if (error) break;
        if (at->is_regular_file(error) &&
            tarn::HasExtension(endings, tarn::ExtensionOf(tarn::WideFromPath(at->path()))))
            found.push_back(at->path().string());
    }
    std::ranges::sort(found);
    files.insert(files.end(), found.begin(), found.end());
}

std::vector<std::string> AllFiles(const BatchOptions& options) {
    std::vector<std::string> named = options.files, files;
    if (options.fromInput || options.byZeros)
        for (std::string name; std::getline(std::cin, name, options.byZeros ? '\0' : '\n');)
            if (!name.empty()) named.push_back(name);
    std::string endings;
    for (const std::string& name : named) {
        std::error_code error;
        const bool isFolder = options.recursive && fs::is_directory(name, error);
        if (isFolder && endings.empty()) endings = OWN_ENDINGS + (options.endings ? options.endings() : "");
        if (isFolder)
            AddFolder(name, endings, files);
        else
            files.push_back(name);
    }
    return files;
}

class Printer {
public:
    Printer(const BatchOptions& options, size_t count)
        : m_options(options), m_count(count), m_isTerminal(::isatty(STDERR_FILENO) != 0 && count > 1) {}
    ~Printer() {
        if (m_isTerminal) std::fputs("\r\033[K", stderr);
    }

    /// In any order; printed in that of the files.
    void Take(size_t index, const std::string& file, FileResult result) {
        const std::scoped_lock lock(m_mutex);
        m_code = std::max(m_code, result.code);
        m_waiting.emplace(index, std::pair(file, std::move(result)));
        for (auto next = m_waiting.begin(); next != m_waiting.end() && next->first == m_next;
             next = m_waiting.erase(next), m_next++)
            Print(next->second.first, next->second.second);
        if (m_isTerminal) std::fprintf(stderr, "\r%zu of %zu files", m_next, m_count), std::fflush(stderr);
    }
    int Code() const { return m_code; }

private:
    void Print(const std::string& file, FileResult& result) {
        if (m_options.jsonLines) {
            nlohmann::json line = {{"file", file}, {"code", result.code}};
            if (!result.error.empty()) line["error"] = result.error;
            line.update(result.json);
            std::printf("%s\n", JsonText(line, true).c_str());
        } else {
            std::fputs(result.text.c_str(), stdout);
            if (!result.error.empty()) std::fflush(stdout), Complain(file, result.error);
        }
        std::fflush(stdout);
    }

    const BatchOptions& m_options;
    const size_t m_count;
    const bool m_isTerminal;
    std::mutex m_mutex;
    std::map<size_t, std::pair<std::string, FileResult>> m_waiting;
    size_t m_next = 0;
    int m_code = EXIT_FINE;
};

}  // namespace

std::string JsonText(const nlohmann::json& json, bool isLine) {
    return json.dump(isLine ? -1 : 2, ' ', false, nlohmann::json::error_handler_t::replace);
}

int RunBatch(const BatchOptions& options, const std::function<FileResult(const std::string& file)>& work) {
    const std::vector<std::string> files = AllFiles(options);
    if (files.empty()) return Complain("no files", "name some, or folders with --recursive", EXIT_USAGE);
    Printer printer(options, files.size());
    std::atomic<size_t> next = 0;
    const auto run = [&] {
        for (size_t i = next++; i < files.size(); i = next++) {
            FileResult result;
            try {
                result = work(files[i]);
            } catch (const std::exception& e) {
                result.code = EXIT_UNREADABLE;
                result.error = e.what();
            }
            printer.Take(i, files[i], std::move(result));
        }
    };
    std::vector<std::thread> threads;
    for (size_t n = 1; n < std::min<size_t>(options.jobs, files.size()); n++) threads.emplace_back(run);
    run();
    for (std::thread& thread : threads) thread.join();
    return printer.Code();
}
