// SPDX-License-Identifier: Apache-2.0
#include "support/script.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// After the header whose types it uses.
#include <GLES2/gl2ext.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "support/log_capture.h"

namespace android::test {
namespace {

#define CONSTANT(name) Words::value_type(#name, static_cast<uint64_t>(name))
const Words kConstants = {
        {"NULL", 0},
        {"EGL_DEFAULT_DISPLAY", 0},
        {"EGL_NO_CONTEXT", 0},
        {"EGL_NO_SURFACE", 0},
        {"4 * sizeof(float)", 16},
        {"(2 * sizeof(float))", 8},
        {"sizeof(float)*mQuadVertices.size()", 96},
        CONSTANT(EGL_NATIVE_BUFFER_ANDROID),
        CONSTANT(EGL_SYNC_NATIVE_FENCE_ANDROID),
        CONSTANT(GL_ARRAY_BUFFER),
        CONSTANT(GL_COLOR_ATTACHMENT0),
        CONSTANT(GL_COLOR_BUFFER_BIT),
        CONSTANT(GL_COMPILE_STATUS),
        CONSTANT(GL_DEPTH_TEST),
        CONSTANT(GL_FALSE),
        CONSTANT(GL_FLOAT),
        CONSTANT(GL_FRAGMENT_SHADER),
        CONSTANT(GL_FRAMEBUFFER),
        CONSTANT(GL_INFO_LOG_LENGTH),
        CONSTANT(GL_LINEAR),
        CONSTANT(GL_LINK_STATUS),
        CONSTANT(GL_NEAREST),
        CONSTANT(GL_RGB),
        CONSTANT(GL_STATIC_DRAW),
        CONSTANT(GL_TEXTURE_2D),
        CONSTANT(GL_TEXTURE_EXTERNAL_OES),
        CONSTANT(GL_TEXTURE_MAG_FILTER),
        CONSTANT(GL_TEXTURE_MIN_FILTER),
        CONSTANT(GL_TRIANGLES),
        CONSTANT(GL_UNSIGNED_BYTE),
        CONSTANT(GL_VERSION),
        CONSTANT(GL_VERTEX_SHADER),
};

// "vertex = glCreateShader(GL_VERTEX_SHADER)" taken apart.
struct CallText {
    std::string result;
    std::string function;
    std::vector<std::string> arguments;

    explicit CallText(std::string text) {
        const size_t assigned = text.find(" = ");
        if (assigned != std::string::npos) {
            result = text.substr(0, assigned);
            text.erase(0, assigned + 3);
        }
        const size_t open = text.find('(');
        function = text.substr(0, open);
        int depth = 0;
        std::string argument;
        for (const char c : text.substr(open + 1, text.size() - open - 2)) {
            depth += c == '(' ? 1 : c == ')' ? -1 : 0;
            if (c == ',' && depth == 0) {
                arguments.push_back(argument);
                argument.clear();
            } else if (c != ' ' || !argument.empty()) {
                argument += c;
            }
        }
        if (!argument.empty()) arguments.push_back(argument);
    }

    bool makes() const { return function.compare(0, 5, "glGen") == 0; }
    bool deletes() const { return function.compare(0, 8, "glDelete") == 0; }
};

uint32_t bitsOf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

float floatOf(uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

uint64_t valueOf(std::string word, const Words& words, std::string& unknown) {
    const size_t cast = word.find(')');
    if (word[0] == '(' && cast + 1 < word.size()) word.erase(0, cast + 1);
    for (const Words* dictionary : {&kConstants, &words}) {
        const auto found = dictionary->find(word);
        if (found != dictionary->end()) return found->second;
    }
    const bool isNumber = std::isdigit(static_cast<unsigned char>(word[0])) || word[0] == '-';
    if (isNumber && word.find('.') != std::string::npos) return bitsOf(std::stof(word));
    if (isNumber) return std::stoull(word, nullptr, 0);
    unknown = word;
    return 0;
}

// Empty, or in what the call differs from the step.
std::string difference(const GlCall& call, const Step& step, Words& words) {
    const CallText text(step.text);
    std::ostringstream out;
    if (call.name != text.function) return "another call";
    if (call.text != step.argument) out << " passes \"" << call.text << "\"";
    if (call.arguments.size() != text.arguments.size()) {
        out << " takes " << call.arguments.size() << " arguments";
        return out.str();
    }
    for (size_t i = 0; i < text.arguments.size(); ++i) {
        const std::string& word = text.arguments[i];
        std::string unknown;
        if (word[0] == '&') {
            if (text.makes()) words[word.substr(1)] = call.result;
            if (text.deletes() && call.result != valueOf(word.substr(1), words, unknown))
                out << " deletes " << call.result << ", not " << word;
        } else if (word.find(".c_str()") == std::string::npos &&
                   word.find(".data()") == std::string::npos) {
            const uint64_t value = valueOf(word, words, unknown);
            if (unknown.empty() && value != call.arguments[i])
                out << " " << word << " is " << call.arguments[i] << ", not " << value;
        }
        if (!unknown.empty()) out << " (the script does not know " << unknown << ")";
    }
    if (!text.result.empty()) words[text.result] = call.result;
    return out.str();
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// {word} as an int, {word:x} in hexadecimal, {word:f} as the float of these bits. Handles are
// printed by their low 32 bits.
std::string filledIn(std::string line, const Words& words) {
    for (size_t open; (open = line.find('{')) != std::string::npos;) {
        const size_t close = line.find('}', open);
        std::string word = line.substr(open + 1, close - open - 1);
        const char form = word[word.size() - 2] == ':' ? word.back() : 'd';
        if (form != 'd') word.resize(word.size() - 2);
        std::string unknown;
        const auto bits = static_cast<uint32_t>(valueOf(word, words, unknown));
        std::ostringstream value;
        if (!unknown.empty())
            value << "?" << unknown << "?";
        else if (form == 'x')
            value << "0x" << std::hex << bits;
        else
            value << (form == 'f' ? std::to_string(floatOf(bits))
                                  : std::to_string(static_cast<int32_t>(bits)));
        line.replace(open, close - open + 1, value.str());
    }
    return line;
}

bool lineMatches(const std::string& line, std::string expected) {
    if (expected.empty() || expected.back() != '*') return line == expected;
    expected.pop_back();
    return line.compare(0, expected.size(), expected) == 0;
}

std::string shown(const GlCall& call) {
    std::ostringstream out;
    out << call.name << "(";
    for (const uint64_t argument : call.arguments)
        out << " " << argument;
    out << " ) " << call.text;
    return out.str();
}

}  // namespace

Script scriptOf(const std::string& text, const Parameters& parameters) {
    // The programs' texts are those of another file of the library.
    static const std::regex notGiven(R"(\$\{\w+\})");
    static const std::set<std::string> ofShader = {"program", "use", "scalar", "vector"};
    const auto after = [](std::string& line, const std::string& mark) {
        const size_t at = line.find(mark);
        if (at == std::string::npos) return std::string();
        const std::string rest = line.substr(at + mark.size());
        line.resize(at);
        return rest;
    };
    Script script;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '?') {
            const std::string rest = after(line, " ");
            const auto flag = parameters.find(line.substr(1));
            if (flag == parameters.end() || flag->second.empty()) continue;
            line = rest;
        }
        for (const auto& [name, value] : parameters)
            line = replaced(line, "${" + name + "}", value);
        line = std::regex_replace(line, notGiven, "");
        if (line.compare(0, 8, "include ") == 0) {
            std::istringstream words(line.substr(8));
            std::string file, word;
            words >> file;
            Parameters given = {{"file", ofShader.count(file) != 0 ? "gfx/gfx_shader" : ""}};
            const auto mine = parameters.find("file");
            if (given["file"].empty() && mine != parameters.end()) given["file"] = mine->second;
            while (words >> word) {
                const std::string value = after(word, "=");
                given[word] = replaced(value, "~", " ");
            }
            std::ifstream source(std::string(SCRIPT_FOLDER) + "/" + file + ".txt");
            EXPECT_TRUE(source) << file;
            const std::string included(std::istreambuf_iterator<char>(source), {});
            const Script steps = scriptOf(included, given);
            script.insert(script.end(), steps.begin(), steps.end());
            continue;
        }
        const auto file = parameters.find("file");
        Step step = {Step::Call,
                     file == parameters.end() || file->second.empty() ? "upscaler" : file->second,
                     "", ""};
        if (line[0] == '|') {
            step.kind = Step::Line;
            line = replaced(line.substr(2), "\\n", "\n");
        } else if (line.compare(0, 4, "let ") == 0) {
            step.kind = Step::Let;
            line.erase(0, 4);
            step.argument = after(line, " = ");
        } else {
            if (line[0] == '!') {
                step.kind = Step::UncheckedCall;
                line.erase(0, 1);
            }
            step.argument = after(line, " <- ");
        }
        step.text = line;
        script.push_back(step);
    }
    return script;
}

Script checkedCalls(const Script& script) {
    Script checked;
    for (const Step& step : script) {
        if (step.kind == Step::Call && CallText(step.text).function.compare(0, 2, "gl") == 0)
            checked.push_back(step);
    }
    return checked;
}

testing::AssertionResult follows(const GlTrace& trace, const Script& script, Words& words,
                                 Lines lines) {
    // The checks stand behind their calls; eglGetError and trace sections are not part of scripts.
    std::vector<GlCall> calls;
    for (const GlCall& call : trace.calls()) {
        if (call.name == "eglGetError" || call.name.compare(0, 6, "atrace") == 0) continue;
        if (call.name == "log" && lines == Lines::None) continue;
        calls.push_back(call);
    }
    size_t at = 0;
    const auto fail = [&](const Step* step, const std::string& how) {
        auto result = testing::AssertionFailure();
        result << "step " << at << ": expected " << (step == nullptr ? "nothing more" : step->text)
               << ": " << how << "\n";
        for (size_t i = at < 4 ? 0 : at - 4; i < std::min(at + 4, calls.size()); ++i)
            result << (i == at ? " -> " : "    ") << shown(calls[i]) << "\n";
        return result;
    };
    for (const Step& step : script) {
        if (step.kind == Step::Let) {
            std::string unknown;
            words[step.text] = valueOf(step.argument, words, unknown);
            if (!unknown.empty()) return fail(&step, "the script does not know " + unknown);
            continue;
        }
        if (step.kind == Step::Line) {
            if (lines == Lines::None) continue;
            if (at == calls.size()) return fail(&step, "the end");
            const std::string expected = filledIn(step.text, words);
            if (calls[at].name != "log" || !lineMatches(calls[at].text, expected))
                return fail(&step, expected);
            ++at;
            continue;
        }
        const CallText text(step.text);
        if (text.function == "glGetString" && lines == Lines::None) continue;
        if (at == calls.size()) return fail(&step, "the end");
        const std::string how = difference(calls[at], step, words);
        if (!how.empty()) return fail(&step, how);
        ++at;
        if (step.kind == Step::Call && text.function.compare(0, 2, "gl") == 0) {
            if (at == calls.size() || calls[at].name != "glGetError")
                return fail(&step, "its check does not follow");
            ++at;
        }
    }
    return at == calls.size() ? testing::AssertionSuccess() : fail(nullptr, "there is more");
}

void expectEachCheckReports(const Script& script, unsigned int error, const char* errorName,
                            const std::function<void()>& work) {
    const Script checked = checkedCalls(script);
    std::vector<std::string> undisturbed;
    {
        GlTrace trace;
        work();
        undisturbed = trace.names();
    }
    for (size_t i = 0; i < checked.size(); ++i) {
        const std::string& text = checked[i].text;
        SCOPED_TRACE(text + ", " + errorName);
        LogCapture log;
        GlTrace trace;
        trace.raiseAfter(i, error);
        work();
        ASSERT_TRUE(trace.raised());
        ASSERT_EQ(trace.names(), undisturbed);
        ASSERT_EQ(log.errors().size(), 1u) << testing::PrintToString(log.errors());
        // glGetError failed PATH: LINE: TEXT failed: NAME
        const std::string line = log.errors()[0];
        const std::string path = "glGetError failed multimedia/display/upsservice/upscaler/" +
                                 checked[i].file + ": ";
        ASSERT_EQ(line.compare(0, path.size(), path), 0) << line;
        const size_t digits = line.find_first_not_of("0123456789", path.size()) - path.size();
        ASSERT_GT(digits, 0u) << line;
        ASSERT_EQ(line.substr(path.size() + digits), ": " + text + " failed: " + errorName + " \n");
    }
    // One check more than the script has, and the error would still be pending.
    GlTrace trace;
    trace.raiseAfter(checked.size(), error);
    work();
    EXPECT_FALSE(trace.raised());
}

}  // namespace android::test
