// SPDX-License-Identifier: Apache-2.0
#include "command/manual.h"

#include <cctype>
#include <sstream>

#include "command/options.h"
#include "gpu/operations.h"

namespace upscale {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kTextColumn = 24;

// Without the marks of bold and italic.
std::string plain(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c != '`' && c != '*') result += c;
    }
    return result;
}

// The words of `text` in lines of up to `kColumns`, all but the first indented.
std::string wrapped(const std::string& text, std::size_t indent, std::size_t column) {
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;) {
        if (column + 1 + word.size() > kColumns) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (!result.empty()) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result + '\n';
}

// A term at the left and its text in a column.
std::string row(const std::string& term, const std::string& text) {
    std::string head = "  " + term;
    if (head.size() + 2 > kTextColumn) {
        head += '\n' + std::string(kTextColumn, ' ');
    } else {
        head.resize(kTextColumn, ' ');
    }
    return head + wrapped(plain(text), kTextColumn, kTextColumn);
}

std::string withValue(const Option& option) {
    return option.name + (option.value ? std::string(" ") + option.value : "");
}

// Roff's escapes, without fonts.
std::string escaped(char c) {
    if (c == '-') return "\\-";
    if (c == '\\') return "\\e";
    if (c == '\'') return "\\(aq";
    return {c};
}

// Text with marks, as roff. A sentence ends a line, so that roff spaces it right.
std::string roff(const std::string& text) {
    std::string result;
    char mark = 0;        // that is open
    bool option = false;  // within a word that begins with "--"
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool starts = i == 0 || std::isspace(static_cast<unsigned char>(text[i - 1])) ||
                            text[i - 1] == '(' || text[i - 1] == '[';
        if (option && c != '-' && !std::isalpha(static_cast<unsigned char>(c))) {
            result += "\\fR";
            option = false;
        }
        if (mark == 0 && starts && text.compare(i, 2, "--") == 0) {
            result += "\\fB";
            option = true;
        }
        if (c == '`' || c == '*') {
            result += mark ? "\\fR" : c == '`' ? "\\fB" : "\\fI";
            mark = mark ? '\0' : c;
        } else if (c == '\n') {
            if (result.back() == '\n') result += ".PP";
            result += '\n';
        } else if (c == ' ' && i > 2 && text.compare(i - 3, 3, "...") == 0) {
            result += "\\& ";
        } else if (c == ' ' && i > 0 && text[i - 1] == '.') {
            result += '\n';
        } else if (c == '.' && starts) {
            result += "\\&.";
        } else {
            result += escaped(c);
        }
    }
    if (option) result += "\\fR";
    return result;
}

// Further paragraphs of a term keep its indentation.
std::string indented(std::string text) {
    for (std::size_t at = 0; (at = text.find(".PP\n", at)) != std::string::npos;) {
        text.replace(at, 3, ".IP");
    }
    return text;
}

std::string roffTerm(const std::string& term, const std::string& text) {
    return ".TP\n" + term + "\n" + indented(roff(text)) + "\n";
}

std::string roffOption(const Option& option) {
    const bool argument = option.name[0] != '-';
    std::string term = argument ? "\\fI" : "\\fB";
    term += (argument ? option.name : roff(option.name)) + "\\fR";
    if (!argument) term = roff(option.name);
    if (option.value) {
        const bool words = option.complete == Complete::Words;
        term += words ? " \\fB" : " \\fI";
        for (const char c : std::string(option.value)) {
            const bool literal = !words && !std::isupper(static_cast<unsigned char>(c));
            term += literal ? "\\fB" + escaped(c) + "\\fI" : escaped(c);
        }
        term += "\\fR";
    }
    std::string text = std::string(option.help) + ".";
    if (option.more[0] != '\0') text += std::string(" ") + option.more;
    return roffTerm(term, text);
}

std::string operationNames() {
    std::string names;
    for (const Operation& operation : kOperations) {
        names += (names.empty() ? "" : " ") + std::string(operation.name);
    }
    return names;
}

}  // namespace

std::string helpText() {
    std::string text;
    for (const char* synopsis : kSynopses) {
        const std::string head = text.empty() ? "Usage: upscale " : "       upscale ";
        text += head + wrapped(plain(synopsis), head.size() + 2, head.size());
    }
    for (const OptionGroup& group : optionGroups()) {
        text += std::string("\n") + group.title + ":\n";
        for (const Option& option : group.options) {
            text += row(withValue(option), option.help);
        }
    }
    text += "\nExamples:\n";
    for (const Example& example : kExamples) {
        text += std::string("  # ") + example.purpose + "\n  " + example.command + "\n";
    }
    text += "\nEnvironment:\n";
    for (const Term& variable : kVariables) {
        text += row(variable.name, variable.text);
    }
    text += "\nExit status:\n";
    for (const Term& code : kExitCodes) {
        text += row(code.name, code.text);
    }
    return text + "\nThe man page, upscale(1), tells more.\n";
}

std::string manPage(const std::string& version) {
    std::string text =
            ".\\\" SPDX-License-Identifier: Apache-2.0\n"
            ".TH UPSCALE 1 \"\" \"upscaler " +
            version +
            "\" \"User Commands\"\n"
            ".SH NAME\nupscale \\- " +
            roff(kPurpose) + "\n.SH SYNOPSIS\n";
    for (const char* synopsis : kSynopses) {
        if (synopsis != kSynopses.front()) text += ".br\n";
        text += "\\fBupscale\\fR " + roff(synopsis) + "\n";
    }
    for (const Section& section : kSections) {
        text += std::string(".SH ") + section.title + "\n" + roff(section.text) + "\n";
    }
    text += ".SH OPTIONS\n";
    for (const OptionGroup& group : optionGroups()) {
        text += std::string(".SS ") + group.title + "\n";
        for (const Option& option : group.options) {
            text += roffOption(option);
        }
    }
    text += ".SH EXIT STATUS\n";
    for (const Term& code : kExitCodes) {
        text += roffTerm(std::string("\\fB") + code.name + "\\fR", code.text);
    }
    text += ".SH ENVIRONMENT\n";
    for (const Term& variable : kVariables) {
        text += roffTerm(std::string("\\fB") + variable.name + "\\fR", variable.text);
    }
    text += ".SH EXAMPLES\n";
    for (const Example& example : kExamples) {
        std::string command;
        for (const char* c = example.command; *c != '\0'; ++c) {
            command += escaped(*c);
        }
        text += std::string(".PP\n") + roff(example.purpose) + ":\n.PP\n.RS 4\n.nf\n" + command +
                "\n.fi\n.RE\n";
    }
    return text;
}

std::string bashCompletion() {
    std::string names;
    std::string without;  // Options whose value nobody can guess.
    std::string cases;
    for (const OptionGroup& group : optionGroups()) {
        for (const Option& option : group.options) {
            if (option.name[0] != '-') continue;
            names += (names.empty() ? "" : " ") + std::string(option.name);
            if (!option.value) continue;
            if (option.complete == Complete::Nothing) {
                without += (without.empty() ? "" : " | ") + std::string(option.name);
                continue;
            }
            const std::string words =
                    option.complete == Complete::Operations ? operationNames() : option.words;
            cases += std::string("        ") + option.name +
                     ")\n            COMPREPLY=($(compgen -W \"" + words +
                     "\" -- \"$cur\"))\n            return ;;\n";
        }
    }
    return "# SPDX-License-Identifier: Apache-2.0\n"
           "# Completion of upscale's command line, for bash.\n"
           "_upscale() {\n"
           "    local cur prev words cword split\n"
           "    _init_completion -s || return\n"
           "    case $prev in\n" +
           cases + "        " + without +
           ")\n            return ;;\n"
           "    esac\n"
           "    $split && return\n"
           "    if [[ $cur == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"" +
           names +
           "\" -- \"$cur\"))\n"
           "        return\n"
           "    fi\n"
           "    _filedir '@(png|jpg|jpeg|webp|y4m)'\n"
           "} &&\n"
           "    complete -F _upscale upscale\n";
}

}  // namespace upscale
