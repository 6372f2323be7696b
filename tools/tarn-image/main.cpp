// Images from the command line: tarn-image scale in.png out.png --size 320x200
#include "tools/tarn-image/image_tool.h"

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>

using namespace tarn;

namespace {

std::string TypeComplaint(const std::string& name) {
    return TypeByName(name) != QMPIXEL_UNKNOWN ? std::string() : "'" + name + "' is none of " + TypeNames();
}

/// Two numbers with a sign between them, such as 12.5x8 and -3,0.25.
bool ReadPair(const std::string& text, char between, Point& pair) {
    const size_t at = text.find(between);
    if (at == text.npos) return false;
    const auto number = [](const std::string& part, double& value) {
        size_t used = 0;
        // Throws for what does not begin as a number.
        value = std::stod(part, &used);
        return used == part.size() && value == value;
    };
    try {
        return number(text.substr(0, at), pair.x) && number(text.substr(at + 1), pair.y);
    } catch (const std::logic_error&) {
        return false;
    }
}

void AddOutput(CLI::App* command, Options& o) {
    command->add_option("OUT", o.output, "a .png, .jpg, .bmp or .dib")->required();
    command->add_option("--quality", o.quality, "of JPEG, 1 to 100")->check(CLI::Range(1, 100));
}

void AddDevice(CLI::App* command, Options& o) {
    command->add_option("--device", o.device, "cpu or opencl")->check(CLI::IsMember({"cpu", "opencl"}));
}

void AddSize(CLI::App* command, Options& o, const char* help) {
    command->add_option_function<std::string>(
        "--size",
        [&o](const std::string& text) {
            if (!ReadPair(text, 'x', o.size) || o.size.x <= 0 || o.size.y <= 0)
                throw CLI::ValidationError("--size", "'" + text + "' is no WIDTHxHEIGHT");
            o.hasSize = true;
        },
        help);
}

}  // namespace

int main(int argc, char** argv) try {
    // Numbers on the command line are read in one way everywhere.
    std::setlocale(LC_CTYPE, "");
    CLI::App app("Looks at, converts, scales and composites images.", "tarn-image");
    app.footer("Exit codes: 0 fine, 2 a file cannot be read, made or written, 3 asked for wrongly.\n"
               "Examples:\n"
               "  tarn-image info photo.jpg\n"
               "  tarn-image scale photo.jpg small.png --size 320x200 --filter bicubic\n"
               "  tarn-image composite page.png logo.png out.png --at 10.5,20 --size 64x64\n"
               "  tarn-image frame clip.y4m still.png --index 12");
    app.require_subcommand(1);
    Options o;
    int (*run)(const Options&) = nullptr;
    const auto add = [&](const char* name, const char* help, int (*work)(const Options&)) {
        CLI::App* command = app.add_subcommand(name, help);
        command->callback([&run, work] { run = work; });
        return command;
    };

    CLI::App* command = add("info", "size, type of pixels, bits", Info);
    command->add_option("FILE", o.input)->required();
    command->add_flag("--json", o.json, "for programs");

    command = add("convert", "to another format or type of pixels", Convert);
    command->add_option("IN", o.input)->required();
    AddOutput(command, o);
    command->add_option("--type", o.type, TypeNames() + "; else as it is")->check(TypeComplaint);

    command = add("scale", "to another size", Scale);
    command->add_option("IN", o.input)->required();
    AddOutput(command, o);
    AddSize(command, o, "WIDTHxHEIGHT in whole pixels");
    command->get_option("--size")->required();
    command->add_option("--filter", o.filter)->check(CLI::IsMember({"bilinear", "bicubic"}));
    AddDevice(command, o);

    command = add("composite", "lay one image over another", Composite);
    command->add_option("BASE", o.input)->required();
    command->add_option("OVER", o.over)->required();
    AddOutput(command, o);
    command->add_option("--mode", o.mode, "0 replace, 1 add, 2 subtract, 3 multiply, 4 over, 5 to 12")
        ->check(CLI::Range(0, 12));
    command->add_option_function<std::string>(
        "--at",
        [&o](const std::string& text) {
            if (!ReadPair(text, ',', o.at)) throw CLI::ValidationError("--at", "'" + text + "' is no X,Y");
        },
        "X,Y of its top left corner, with fractions of pixels");
    AddSize(command, o, "WIDTHxHEIGHT that it is scaled to, with fractions of pixels");
    AddDevice(command, o);

    command = add("rotate", "by 90, 180 or 270 degrees clockwise", Rotate);
    command->add_option("IN", o.input)->required();
    AddOutput(command, o);
    command->add_option("ANGLE", o.angle)->required()->check(CLI::IsMember({"90", "180", "270"}));
    AddDevice(command, o);

    command =
        add("frame", "a frame of raw or y4m video to a picture, or a picture to a .y4m, .yuv or .raw", Frame);
    command->add_option("IN", o.input)->required();
    AddOutput(command, o);
    AddSize(command, o, "WIDTHxHEIGHT of raw video");
    command->add_option("--type", o.type, "of raw video and of what is written, i420 unless told")
        ->check(TypeComplaint);
    command->add_option("--index", o.index, "of the frame, from 0");
    command->add_option("--matrix", o.matrix, "bt709 from 720 lines on, else bt601, unless told")
        ->check(CLI::IsMember({"bt601", "bt709"}));
    command->add_flag("--full-range", o.isFullRange, "samples use all values");

    try {
        app.parse(argc, argv);
        return run(o);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? EXIT_FINE : EXIT_USAGE;
    } catch (const Complaint& complaint) {
        return complaint.Print();
    } catch (const std::exception& e) {
        return Complaint(o.input, e.what()).Print();
    }
} catch (const std::exception& e) {
    std::fprintf(stderr, "tarn-image: %s\n", e.what());
    return EXIT_UNREADABLE;
}
