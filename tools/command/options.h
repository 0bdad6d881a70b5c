// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command line as data: the parser, `--help`, the man page and the shell's completion are all
/// made from this.
///
/// In the texts, `name` stands for what is typed as it stands (bold) and *NAME* for what stands for
/// something else (italic); a word that begins with "--" is typed as it stands without marks.
#ifndef UPSCALER_TOOLS_COMMAND_OPTIONS_H
#define UPSCALER_TOOLS_COMMAND_OPTIONS_H

#include <string>
#include <vector>

namespace upscale {

/// What a command line asks for; also bits of `Option::tasks`.
enum Task : unsigned {
    kPictures = 1,  ///< One picture to a file, or many to a folder.
    kCompare = 2,
    kSweep = 4,
    kVideo = 8,
    kCheck = 16,
    kText = 32,  ///< A text is printed.
};

/// The task's name after "does not go with".
const char* nameOf(Task task);

/// What a shell can offer for a value or an argument.
enum class Complete { Nothing, Words, Operations, Files };

struct Option {
    const char* name;   ///< "--op"; of an argument "IN"
    const char* value;  ///< How its value is shown; null for a flag.
    const char* help;   ///< A line or two.
    const char* more;   ///< What the man page has to add; paragraphs between empty lines.
    Complete complete;
    const char* words;  ///< For `Complete::Words`, between spaces.
    unsigned tasks;     ///< Those that it goes with.
};

struct OptionGroup {
    const char* title;
    std::vector<Option> options;
};

/// What the command line consists of, in the order in which it is shown. The first group is of
/// arguments, which have no "--".
const std::vector<OptionGroup>& optionGroups();

struct Example {
    const char* command;
    const char* purpose;
};

/// A heading of the man page and its paragraphs.
struct Section {
    const char* title;
    const char* text;
};

/// A term and what it means.
struct Term {
    const char* name;
    const char* text;
};

extern const char* const kPurpose;  ///< One line, as a man page's name wants it.
extern const std::vector<const char*> kSynopses;
extern const std::vector<Section> kSections;
extern const std::vector<Term> kExitCodes;
extern const std::vector<Term> kVariables;
extern const std::vector<Example> kExamples;

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_OPTIONS_H
