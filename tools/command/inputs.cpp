// SPDX-License-Identifier: Apache-2.0
#include "command/inputs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "common/failure.h"
#include "pictures/formats.h"

namespace upscale {
namespace {

namespace fs = std::filesystem;

bool isFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// Names that end with a NUL each, as those of find -print0, or with the end of a line.
std::vector<std::string> namesIn(const std::string& text) {
    const char end = text.find('\0') == std::string::npos ? '\n' : '\0';
    std::vector<std::string> names;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t next = std::min(text.find(end, at), text.size());
        if (next > at) names.push_back(text.substr(at, next - at));
        at = next + 1;
    }
    return names;
}

std::vector<std::string> readList(const std::string& path) {
    const auto readAll = [](std::istream& stream) {
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    if (path == "-") return namesIn(readAll(std::cin));
    std::ifstream file(path, std::ios::binary);
    const std::string text = file && !isFolder(path) ? readAll(file) : "";
    if (!file || isFolder(path)) {
        throw Failure(Exit::Failed, path,
                      isFolder(path) ? "a folder, not a list of files" : std::strerror(errno));
    }
    return namesIn(text);
}

// Looks through one folder, or a tree of them.
class FolderSearch {
  public:
    explicit FolderSearch(const Arguments& arguments) : mArguments(arguments) {}

    // @param folder within `root`. @return what kept it from being read.
    std::error_code look(const std::string& root, const std::string& folder) {
        std::error_code error;
        const std::string path = folder.empty() ? root : within(root, folder);
        std::vector<std::string> names;
        for (fs::directory_iterator entry(path, error), end; !error && entry != end;
             entry.increment(error)) {
            names.push_back(entry->path().filename());
        }
        if (error) return error;
        std::sort(names.begin(), names.end());
        for (const std::string& name : names) {
            if (name.front() == '.') continue;
            const std::string each = within(path, name);
            if (isTree(each)) {
                error = look(root, folder.empty() ? name : within(folder, name));
                if (error) return error;
            } else if (isPicture(each)) {
                found.push_back({each, folder});
            } else {
                ++others;
            }
        }
        return {};
    }

    std::vector<Input> found;
    std::size_t others = 0;

  private:
    // Links are not followed, or a tree might have no end. The results are no inputs.
    bool isTree(const std::string& path) const {
        std::error_code error;
        return mArguments.recursive && fs::is_directory(path, error) &&
               !fs::is_symlink(path, error) && !fs::equivalent(path, mArguments.output, error);
    }

    // A link to nowhere is tried, and fails with a message.
    static bool isPicture(const std::string& path) {
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        return formatNamed(extensionOf(path)) != nullptr &&
               (fs::is_regular_file(status) || !fs::exists(status));
    }

    const Arguments& mArguments;
};

}  // namespace

std::string within(const std::string& folder, const std::string& name) {
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

std::vector<Input> findInputs(const Arguments& arguments, Report& report) {
    std::vector<std::string> named = arguments.inputs;
    if (arguments.filesFrom) {
        const std::vector<std::string> listed = readList(*arguments.filesFrom);
        named.insert(named.end(), listed.begin(), listed.end());
    }
    std::vector<Input> inputs;
    for (const std::string& path : named) {
        if (!isFolder(path)) {
            inputs.push_back({path, ""});
            continue;
        }
        FolderSearch search(arguments);
        const std::error_code error = search.look(path, "");
        // It counts as a picture, whose turn to fail comes.
        if (error || search.found.empty()) search.found = {{path, ""}};
        inputs.insert(inputs.end(), search.found.begin(), search.found.end());
        if (search.others > 0) {
            report.note(path + ": " + std::to_string(search.others) +
                        (search.others == 1 ? " other entry was" : " other entries were") +
                        " passed over");
        }
    }
    return inputs;
}

void expectNoFolder(const std::string& path) {
    if (!isFolder(path)) return;
    std::error_code error;
    fs::directory_iterator entries(path, error);
    throw Failure(Exit::Failed, path,
                  error ? error.message() : "no " + formatNames("or") + " files in this folder");
}

std::string outputName(const std::string& input, const PictureFormat& format,
                       const std::string& suffix) {
    const std::string name = input.substr(input.rfind('/') + 1);
    std::string extension = extensionOf(name);
    const PictureFormat* named = formatNamed(extension);
    const std::size_t kept = named ? name.size() - extension.size() - 1 : name.size();
    if (named != &format) extension = format.extensions.front();
    return name.substr(0, kept) + suffix + "." + extension;
}

}  // namespace upscale
