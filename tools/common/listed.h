// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_LISTED_H
#define UPSCALER_TOOLS_COMMON_LISTED_H

#include <string>
#include <vector>

namespace upscale {

/// The words as a sentence has them: "png, jpeg and webp".
inline std::string listed(const std::vector<std::string>& words, const std::string& conjunction) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 < words.size() ? ", " : " " + conjunction + " ";
        text += words[i];
    }
    return text;
}

/// The words with a separator between them.
inline std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_LISTED_H
