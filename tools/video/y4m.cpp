// SPDX-License-Identifier: Apache-2.0
#include "video/y4m.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "common/failure.h"
#include "common/number.h"
#include "common/size.h"

namespace upscale {
namespace {

constexpr char kRangeTag[] = "XCOLORRANGE=";

struct Colour {
    const char* tag;
    Sampling sampling;
    Siting siting;
};
// The plain "420" is read as by the programs that write it. 4:2:2 has its chroma on the left
// pixel.
constexpr Colour kColours[] = {
        {"420jpeg", Sampling::Yuv420, Siting::Centre},
        {"420mpeg2", Sampling::Yuv420, Siting::Left},
        {"420paldv", Sampling::Yuv420, Siting::TopLeft},
        {"420", Sampling::Yuv420, Siting::Centre},
        {"422", Sampling::Yuv422, Siting::Left},
        {"444", Sampling::Yuv444, Siting::Centre},
        {"mono", Sampling::Mono, Siting::Centre},
};

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        if (end > at) words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

bool isText(const std::string& line) {
    return std::none_of(line.begin(), line.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7f;
    });
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

struct Ratio {
    std::uint64_t over;
    std::uint64_t under;
};

// The value of an aspect tag. Neither part is 0, which stands for an unknown aspect.
std::optional<Ratio> parseAspect(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) return std::nullopt;
    const auto over = parseNumber<std::uint32_t>(text.substr(0, colon));
    const auto under = parseNumber<std::uint32_t>(text.substr(colon + 1));
    if (!over || !under || *over == 0 || *under == 0) return std::nullopt;
    return Ratio{*over, *under};
}

// In lowest terms. Inexact only where other programs could not read the exact ratio.
std::string aspectTag(Ratio ratio) {
    const std::uint64_t common = std::gcd(ratio.over, ratio.under);
    ratio = {ratio.over / common, ratio.under / common};
    while (std::max(ratio.over, ratio.under) > std::numeric_limits<std::int32_t>::max())
        ratio = {std::max<std::uint64_t>(ratio.over / 2, 1),
                 std::max<std::uint64_t>(ratio.under / 2, 1)};
    return "A" + std::to_string(ratio.over) + ":" + std::to_string(ratio.under);
}

std::uint32_t parseSide(const std::string& tag, const std::string& name) {
    const auto side = parseNumber<std::uint32_t>(tag.substr(1));
    if (!side || *side == 0 || *side > kLongestY4mSide) {
        throw Failure(Exit::Failed, name,
                      "'" + tag + "' in the Y4M header is not a size from 1 to " +
                              std::to_string(kLongestY4mSide));
    }
    return *side;
}

[[noreturn]] void refuseInterlaced(const std::string& name, const std::string& what) {
    throw Failure(Exit::Failed, name,
                  what + " is interlaced; deinterlace it first (ffmpeg: -vf bwdif)");
}

}  // namespace

Y4mHeader parseY4mHeader(const std::string& line, const std::string& name) {
    Y4mHeader header;
    header.tags = split(line);
    if (header.tags.empty() || header.tags.front() != kY4mStreamWord || !isText(line))
        throw Failure(Exit::Failed, name, "not a Y4M stream");
    header.tags.erase(header.tags.begin());

    FrameFormat& format = header.format;
    std::optional<Range> range;
    for (const std::string& tag : header.tags) {
        const std::string value = tag.substr(1);
        if (tag[0] == 'W') {
            format.width = parseSide(tag, name);
        } else if (tag[0] == 'H') {
            format.height = parseSide(tag, name);
        } else if (tag[0] == 'I' && value != "p" && value != "?") {
            refuseInterlaced(name, "the video ('" + tag + "')");
        } else if (tag[0] == 'C') {
            const auto* colour = std::find_if(std::begin(kColours), std::end(kColours),
                                              [&](const Colour& row) { return row.tag == value; });
            if (colour == std::end(kColours)) {
                throw Failure(
                        Exit::Failed, name,
                        "the colour format '" + tag +
                                "' is not supported; 4:2:0, 4:2:2, 4:4:4 and mono of 8 bits are; "
                                "convert it first (ffmpeg: -pix_fmt yuv420p)");
            }
            format.sampling = colour->sampling;
            format.siting = colour->siting;
        } else if (startsWith(tag, kRangeTag)) {
            if (tag == std::string(kRangeTag) + "FULL") range = Range::Full;
            if (tag == std::string(kRangeTag) + "LIMITED") range = Range::Limited;
        }
    }
    if (format.width == 0 || format.height == 0)
        throw Failure(Exit::Failed, name, "the Y4M header has no size");
    // Untagged grey is taken whole: there nothing can be clipped.
    format.range = range.value_or(format.sampling == Sampling::Mono ? Range::Full : Range::Limited);
    return header;
}

std::string scaledY4mHeader(const Y4mHeader& header, std::uint32_t width, std::uint32_t height,
                            std::optional<Range> range) {
    const FrameFormat& from = header.format;
    const bool alike = keepsShape({from.width, from.height}, {width, height});
    const std::string rangeTag =
            range ? std::string(kRangeTag) + (*range == Range::Full ? "FULL" : "LIMITED") : "";
    bool rangeTold = !range;
    std::string line = kY4mStreamWord;
    for (std::string tag : header.tags) {
        if (tag[0] == 'W') tag = "W" + std::to_string(width);
        if (tag[0] == 'H') tag = "H" + std::to_string(height);
        if (tag[0] == 'A' && !alike) {
            if (const auto aspect = parseAspect(tag.substr(1))) {
                tag = aspectTag(
                        {aspect->over * from.width * height, aspect->under * width * from.height});
            }
        }
        if (range && startsWith(tag, kRangeTag)) {
            tag = rangeTag;
            rangeTold = true;
        }
        line += " " + tag;
    }
    if (!rangeTold) line += " " + rangeTag;
    return line + "\n";
}

std::string parseY4mFrameLine(const std::string& line, const std::string& name,
                              const std::string& place) {
    constexpr std::size_t kWord = sizeof(kY4mFrameWord) - 1;
    if (!startsWith(line, kY4mFrameWord) || (line.size() > kWord && line[kWord] != ' ') ||
        !isText(line)) {
        throw Failure(Exit::Failed, name, "no frame header before " + place);
    }
    for (const std::string& tag : split(line.substr(kWord))) {
        // Presentation, then the sampling in time and in space.
        if (tag[0] == 'I' && tag.find('i', 1) != std::string::npos)
            refuseInterlaced(name, place + " ('" + tag + "')");
    }
    return line.substr(kWord);
}

}  // namespace upscale
