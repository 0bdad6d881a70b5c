// SPDX-License-Identifier: Apache-2.0
#include "command/options.h"

namespace upscale {
namespace {

constexpr unsigned kSheets = kCompare | kSweep;
constexpr unsigned kScaling = kPictures | kSheets | kVideo;

}  // namespace

const char* nameOf(Task task) {
    switch (task) {
        case kPictures:
            return "pictures";
        case kCompare:
            return "--compare";
        case kSweep:
            return "--sweep";
        case kVideo:
            return "video";
        case kCheck:
            return "--check";
        case kText:
            break;
    }
    return "a text";
}

const char* const kPurpose = "rescale and sharpen pictures and video on the GPU";

const std::vector<const char*> kSynopses = {
        "(--size *W*x*H* | --scale *F*) [*OPTION*...] *IN* *OUT*",
        "(--size *W*x*H* | --scale *F*) [*OPTION*...] *IN*... *FOLDER*",
        "(--compare | --sweep *A*:*B*) (--size *W*x*H* | --scale *F*) [*OPTION*...] *IN* *OUT*",
        "(--check | --list | --version | --help)",
};

const std::vector<OptionGroup>& optionGroups() {
    // clang-format off
    static const std::vector<OptionGroup> kGroups = {
{"Files", {
    {"IN", nullptr,
     "Picture to read (PNG, JPEG or WebP), folder of such pictures, Y4M video, or - for video "
     "from standard input",
     "What is in a file is told by its content. Of a folder, the files whose names end in `.png`, "
     "`.jpg`, `.jpeg` or `.webp` are taken, in the order of their names; hidden files and folders "
     "within it are not.",
     Complete::Files, "", 0},
    {"OUT", nullptr,
     "Picture to write (.png, .jpg, .jpeg or .webp), Y4M video to write, or - for video to "
     "standard output",
     "A name without an extension is a PNG's.",
     Complete::Nothing, "", 0},
    {"FOLDER", nullptr,
     "Where many pictures go: a folder, or a name that ends in /, which is made if it is missing",
     "With several *IN*, or a folder as *IN*, a missing *FOLDER* is made without the / too, "
     "unless its name is that of a picture.",
     Complete::Nothing, "", 0},
}},
{"Scaling", {
    {"--op", "OP", "Operation: fsr (the default), nea, cas-sharpen, cas, casv or cast",
     "--list describes them.", Complete::Operations, "", kPictures | kSweep | kVideo},
    {"--size", "WxH", "Size of the output in pixels", "", Complete::Nothing, "", kScaling},
    {"--scale", "F", "Or its size as a multiple of the input's", "It is rounded to whole pixels.",
     Complete::Nothing, "", kScaling},
    {"--sharpness", "S", "Sharpness, in the operation's own scale",
     "Of `fsr` and `nea` in stops: 0 is strongest, and each 1 more halves it. Of the others from "
     "0, strongest, to 1, weakest. --list tells the defaults.",
     Complete::Nothing, "", kPictures | kVideo},
    {"--border", "pad|raw",
     "What the operation finds beyond the picture's edge: the edge's own colour (the default), or "
     "what the driver gives",
     "With `pad` the picture is scaled with a margin of repeated edge pixels, which is cut off "
     "again. With `raw` the output is the library's to the bit: `fsr` then mixes in the colour of "
     "the opposite side, and the others read outside the picture, which mostly gives black.\n"
     "\n"
     "The margin is chosen so that the other pixels stay what they are with `raw`: to the bit at "
     "one and two times the size on Mesa's software driver, else but for the driver's rounding "
     "(which also decides where `nea` and `casv` find two source pixels equally near). Only if "
     "both sides, reduced to lowest terms, are longer than 64 pixels (1001 to 1370, say) does the "
     "picture shift, around its centre, by less than a twentieth of a source pixel at the edge. "
     "If the margin alone is too much for the driver, `raw` is used, with a warning.",
     Complete::Words, "pad raw", kScaling},
}},
{"Writing", {
    {"--format", "png|jpeg|webp", "Format to write, whatever the extension of OUT",
     "Into a folder, each picture else keeps the format that it has.",
     Complete::Words, "png jpeg webp", kPictures | kSheets},
    {"--quality", "N", "1 to 100, of JPEG (else 90) and WebP (else without loss)",
     "JPEG stores colour at full resolution from 90 on. PNG has no quality.",
     Complete::Nothing, "", kPictures | kSheets},
    {"--force", nullptr, "Replace files that exist", "", Complete::Nothing, "", kScaling},
}},
{"Looking", {
    {"--compare", nullptr,
     "Write one labelled sheet: the source's pixels and all six operations",
     "Each operation has its default sharpness.", Complete::Nothing, "", kCompare},
    {"--sweep", "A:B[:N]",
     "Write one labelled sheet: N (else 7) values of sharpness from A to B",
     "The operation is that of --op. At most 15 values.", Complete::Nothing, "", kSweep},
    {"--crop", "X,Y,WxH", "The part to show, in pixels of the source",
     "Else it is from the middle, 96x72 pixels, or less if the picture is smaller.",
     Complete::Nothing, "", kSheets},
    {"--zoom", "N", "How many times to enlarge each pixel of the output",
     "Else so that source pixels become about four times as wide.",
     Complete::Nothing, "", kSheets},
}},
{"Video", {
    {"--raw", "WxH", "Read and write raw RGBA frames, the input's of this size, instead of Y4M",
     "Four bytes a pixel and no headers (ffmpeg: `-f rawvideo -pix_fmt rgba`). The output is "
     "opaque; a warning tells if the input was not.", Complete::Nothing, "", kVideo},
    {"--matrix", "bt601|bt709|bt2020", "How the colours of Y4M are coded, which it does not tell",
     "Else bt709 from 720 lines up, and bt601 below. The output has the matrix of the input, "
     "whatever its own size.",
     Complete::Words, "bt601 bt709 bt2020", kVideo},
    {"--range", "limited|full",
     "Whether the values of Y4M go from 16 to 235 or from 0 to 255, whatever it tells",
     "Else what its tag XCOLORRANGE tells, else limited, and full for grey. The output has the "
     "same.",
     Complete::Words, "limited full", kVideo},
}},
{"Reports", {
    {"--quiet", nullptr, "No warnings, no progress and no summary; failures are still told",
     "", Complete::Nothing, "", kScaling},
    {"--verbose", nullptr,
     "Report the driver, the sizes, the times and the library's log on standard error",
     "", Complete::Nothing, "", kScaling | kCheck},
}},
{"Instead", {
    {"--check", nullptr, "Tell of the driver, and whether its results can be trusted",
     "Prints what the driver is, its limits and the extensions that matter; runs every operation "
     "on a small built-in picture and compares the pixels with stored ones, allowing 4 steps of "
     "255 and in `casv` and `cast` 8 (a second software driver was measured 3 off at most). The "
     "last line says whether this machine's driver can be trusted. With --verbose the pixels are "
     "printed too.",
     Complete::Nothing, "", kCheck},
    {"--list", nullptr, "Print the operations, their sharpness and its defaults", "",
     Complete::Nothing, "", kText},
    {"--version", nullptr, "Print the version", "", Complete::Nothing, "", kText},
    {"--help", nullptr, "Print this summary", "", Complete::Nothing, "", kText},
}},
    };
    // clang-format on
    return kGroups;
}

const std::vector<Section> kSections = {
        {"DESCRIPTION",
         "Reads PNG, JPEG or WebP pictures, runs one operation of `libupscaler` on them and writes "
         "the results in one of these formats. The format read is told by the file's content, the "
         "one written by the extension of *OUT* or by --format.\n"
         "\n"
         "The output has 8 bits a channel; deeper input gives a warning. It is grey if the input "
         "is (WebP has no grey), and has alpha only if some pixel of the input is transparent. "
         "JPEG cannot hold that: it is refused, so that nothing is lost unasked. What the format "
         "has room for of the colour tags and the density goes along unchanged: an ICC profile "
         "everywhere, the density in PNG and JPEG, sRGB, gAMA and cHRM in PNG. Other data about "
         "the picture is left out. A JPEG with an EXIF orientation is turned upright. CMYK "
         "pictures and animations are refused, and so are files that are cut short.\n"
         "\n"
         "The operations work on the stored values. Transparency is scaled apart by the same "
         "operation. Pixels that are fully transparent first take the colour of the visible ones "
         "next to them, so no hidden colour shows at the edges.\n"
         "\n"
         "A file appears whole or not at all, also when a signal ends the command, and an existing "
         "one is replaced only with --force. Every failure gives one line on standard error."},
        {"MANY PICTURES",
         "Into a folder goes each picture under its own name, with the extension of its format. "
         "One process does them all, and pictures of the same sizes share their buffers, so "
         "memory stays flat over any number. A picture that fails is told of in a line of its own "
         "and does not stop the others; the last line says how many failed and which. A picture "
         "whose output would replace another's, or another picture that is still to be read, is "
         "refused. Without a usable driver, or when the driver stops answering, the command ends "
         "at once.\n"
         "\n"
         "If standard error is a terminal, a line there shows how far the work is, the rate and "
         "the time left."},
        {"VIDEO",
         "With - as *IN* or *OUT* (standard input or output), with a Y4M file, or with --raw, the "
         "frames of a video are scaled one after the other. Y4M is taken in 8 bits as 4:2:0 (with "
         "each siting of chroma), 4:2:2, 4:4:4 and grey, and written in the same form with all its "
         "tags. If --size does not scale both sides alike, the pixel aspect is adjusted so that "
         "the picture keeps its shape on the screen. Interlaced video is refused.\n"
         "\n"
         "The operations work on RGB: what limited values have beyond black and white is cut "
         "off.\n"
         "\n"
         "If the input is cut short, the whole frames before have been written to standard output, "
         "and the exit status is 1; a file appears whole or not at all here too. If the reader of "
         "standard output is gone, SIGPIPE ends the command without a word, as it ends other "
         "filters: shells show that as status 141. It is not 0, since not all was written."},
};

const std::vector<Term> kExitCodes = {
        {"0", "Done."},
        {"1", "An input, an output or the work on it failed; of many pictures, at least one."},
        {"2", "Wrong usage."},
        {"3", "No usable EGL and OpenGL ES 3 driver, or one that --check does not trust."},
        {"141", "As shells show it: the reader of standard output was gone before the end."},
};

const std::vector<Term> kVariables = {
        {"debug.vardi.display.ups.enable",
         "A hexadecimal number; 21 makes the library log its steps, which --verbose shows. Since "
         "the name has dots, set it with `env`(1)."},
};

const std::vector<Example> kExamples = {
        {"upscale --scale 2 photo.jpg photo-2x.png", "One picture, twice as large"},
        {"upscale --op cas-sharpen --scale 1 --sharpness 0.2 soft.png sharp.png", "Sharpen only"},
        {"upscale --size 2560x1440 --format webp --quality 85 photos/ large/",
         "All pictures of a folder"},
        {"upscale --compare --scale 2 --crop 120,80,96x72 photo.jpg sheet.png",
         "See what each operation makes of a detail"},
        {"upscale --op fsr --sweep 0:2:5 --scale 2 photo.jpg sheet.png",
         "See what the sharpness does"},
        {"ffmpeg -i in.mp4 -f yuv4mpegpipe - | upscale --scale 2 - - | "
         "ffmpeg -f yuv4mpegpipe -i - out.mp4",
         "Video, through pipes"},
};

}  // namespace upscale
