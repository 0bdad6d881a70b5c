// SPDX-License-Identifier: Apache-2.0
#include "support/script.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <regex>
#include <sstream>

namespace android::test {
namespace {

bool isChecked(const std::string& line) {
    static const std::regex checkedCall(R"((\w+ = )?gl\w+\(.*)");
    return std::regex_match(line, checkedCall);
}

// In question marks if there is none.
std::string valueOf(const std::string& word, const Words& words) {
    const auto found = words.find(word);
    if (found != words.end()) return found->second;
    static const std::regex null(R"(NULL|EGL_NO_\w+|EGL_DEFAULT_DISPLAY)");
    if (std::regex_match(word, null)) return "0";
    if (word.rfind("bits:", 0) == 0) {
        const float value = std::stof(word.substr(5));
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof(bits));
        return std::to_string(bits);
    }
    if (word.rfind("0x", 0) == 0) return std::to_string(std::stoul(word, nullptr, 16));
    static const std::regex asItStands(R"([-\d"{*].*|E?GL_\w+|)");
    return std::regex_match(word, asItStands) ? word : "?" + word + "?";
}

// A debug line, as the trace has it if that is what is logged.
std::string lineNow(std::string line, const Words& words) {
    static const std::regex placeholder(R"(\{(\w+):?(\w?)\})");
    static const std::regex newline(R"(\\n)");
    for (std::smatch found; std::regex_search(line, found, placeholder);) {
        const std::string value = valueOf(found[1], words);
        std::ostringstream shown;
        if (found[2] == "x")  // By their low 32 bits.
            shown << "0x" << std::hex << static_cast<uint32_t>(std::stoull(value));
        else if (found[2] == "p")
            shown << "0x" << std::hex << std::stoull(value);
        else
            shown << (found[2] == "f" ? std::to_string(std::stof(value)) : value);
        line = found.prefix().str() + shown.str() + found.suffix().str();
    }
    return GlCall{"log", {std::regex_replace(line.substr(2), newline, "\n")}, ""}.text();
}

// A call, as the trace has it if that is what `call` is. What is made gives its word the value.
std::string callNow(const std::string& line, const GlCall& call, Words& words) {
    static const std::regex form(R"(\|?!?(?:(\w+) = )?((?:gl|egl)(Delete)?\w+)\((.*)\))");
    static const std::regex comma(", ");
    std::smatch found;
    EXPECT_TRUE(std::regex_match(line, found, form)) << line;
    if (found[1].matched) words[found[1]] = call.result;
    const bool deletes = found[3].matched;
    GlCall expected = {found[2], {}, ""};
    std::sregex_token_iterator argument(found[4].first, found[4].second, comma, -1);
    for (const std::sregex_token_iterator end; argument != end; ++argument) {
        std::string word = *argument;
        if (word[0] == '&') {
            word.erase(0, 1);
            const size_t at = expected.arguments.size();
            if (!deletes && at < call.arguments.size()) words[word] = call.arguments[at];
        }
        expected.arguments.push_back(valueOf(word, words));
    }
    return expected.text();
}

// A * in the pattern stands for anything.
bool matches(const std::string& text, const std::string& pattern) {
    const size_t star = pattern.find('*');
    if (star == std::string::npos) return text == pattern;
    const size_t behind = pattern.size() - star - 1;
    return text.size() >= star + behind && text.compare(0, star, pattern, 0, star) == 0 &&
           text.compare(text.size() - behind, behind, pattern, star + 1, behind) == 0;
}

}  // namespace

Script::Script(const std::string& text, const Words& values) {
    static const std::regex name(R"(\$\{(\w+)\})");
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        for (std::smatch found; std::regex_search(line, found, name);)
            line = found.prefix().str() + values.at(found[1]) + found.suffix().str();
        if (!line.empty()) mLines.push_back(line);
    }
}

Script& Script::operator+=(const Script& more) {
    mLines.insert(mLines.end(), more.mLines.begin(), more.mLines.end());
    return *this;
}

size_t Script::count(const std::string& begin) const {
    return static_cast<size_t>(
            std::count_if(mLines.begin(), mLines.end(),
                          [&](const std::string& line) { return line.rfind(begin, 0) == 0; }));
}

Script Script::quiet() const {
    Script kept;
    for (const std::string& line : mLines) {
        if (line[0] != '|') kept.mLines.push_back(line);
    }
    return kept;
}

std::vector<std::string> Script::checkedCalls() const {
    std::vector<std::string> checked;
    std::copy_if(mLines.begin(), mLines.end(), std::back_inserter(checked), isChecked);
    return checked;
}

testing::AssertionResult follows(const GlTrace& trace, const Script& script, Words& words) {
    // eglGetError and trace sections are not part of scripts.
    std::vector<GlCall> calls;
    for (const GlCall& call : trace.calls()) {
        if (call.name != "eglGetError" && call.name.rfind("atrace", 0) != 0) calls.push_back(call);
    }
    const GlCall end = {"the end", {}, ""};
    calls.push_back(end);
    size_t at = 0;
    const auto isNext = [&](const std::string& line, const std::string& now) {
        if (matches(calls[at].text(), now)) return testing::AssertionSuccess();
        auto failure = testing::AssertionFailure();
        failure << "expected " << line << "\n      as " << now << "\n";
        for (size_t i = at < 4 ? 0 : at - 4; i < std::min(at + 4, calls.size()); ++i)
            failure << (i == at ? " -> " : "    ") << calls[i].text() << "\n";
        return failure;
    };
    for (const std::string& line : script.lines()) {
        if (line.rfind("let ", 0) == 0) {
            const size_t equals = line.find(" = ");
            words[line.substr(4, equals - 4)] = valueOf(line.substr(equals + 3), words);
            continue;
        }
        const auto result =
                isNext(line, line.rfind("| ", 0) == 0 ? lineNow(line, words)
                                                      : callNow(line, calls[at], words));
        if (!result) return result;
        ++at;
        if (!isChecked(line)) continue;
        const auto check = isNext("the check of " + line, "glGetError()");
        if (!check) return check;
        ++at;
    }
    return isNext("nothing more", end.text());
}

}  // namespace android::test
