// Wave, Wave64 and AIFF files from the command line: tarn-media info take.wav
#include "tools/tarn-media/media_tool.h"

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>

namespace {

std::string TypeComplaint(const std::string& name) {
    return TypeByName(name) ? std::string() : "'" + name + "' is none of " + TypeNames();
}

std::string EndComplaint(const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() < 19 && text.find_first_not_of("0123456789") == text.npos;
    return isNumber || text == "end" ? std::string() : "'" + text + "' is neither a place nor 'end'";
}

void AddFormat(CLI::App* command, FormatOptions& format) {
    command->add_option("--type", format.type, "of the samples: " + TypeNames())->check(TypeComplaint);
    command->add_option("--rate", format.rate, "frames a second")->check(CLI::Range(1u, 10000000u));
    command->add_option("--channels", format.channels, "in a frame")->check(CLI::Range(1u, 1024u));
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    CLI::App app("Looks at, converts and mends wave, Wave64 and AIFF files.", "tarn-media");
    app.footer("Exit codes: 0 fine, 1 verify found an error or repair left one, 2 a file cannot be read or "
               "written, 3 asked for wrongly.\n"
               "Examples:\n"
               "  tarn-media info take.wav\n"
               "  tarn-media convert take.wav take.aiff --type pcm24 --gain -3\n"
               "  tarn-media repair crashed.wav\n"
               "  tarn-media header insert raw.pcm take.wav --type pcm24 --rate 96000 --channels 2");
    app.require_subcommand(1);
    int code = EXIT_FINE;

    InfoOptions info;
    CLI::App* command =
        app.add_subcommand("info", "container, format, length, chunks with offsets and sizes");
    command->add_option("FILE", info.file)->required();
    command->add_flag("--json", info.json, "for programs");
    command->callback([&] { code = Info(info); });

    InfoOptions verify;
    command = app.add_subcommand("verify", "every problem of the file's structure, with its offset");
    command->add_option("FILE", verify.file)->required();
    command->add_flag("--json", verify.json, "for programs");
    command->callback([&] { code = Verify(verify); });

    ConvertOptions convert;
    command =
        app.add_subcommand("convert", "to another container, type of samples, level, number of channels");
    command->add_option("INPUT", convert.input)->required();
    command->add_option("OUTPUT", convert.output)->required();
    command->add_option("--type", convert.type, "of the samples: " + TypeNames() + "; else as they are")
        ->check(TypeComplaint);
    command
        ->add_option("--container", convert.container,
                     "wav, rf64, bw64, w64, aiff or aifc; else by the output's name")
        ->check(CLI::IsMember({"wav", "rf64", "bw64", "w64", "aiff", "aifc"}));
    command->add_option("--gain", convert.gain, "in decibels")->check(CLI::Range(-200.0, 200.0));
    command->add_option("--channels", convert.channels, "1 averages; more repeat a single one")
        ->check(CLI::Range(1u, 1024u));
    command->add_option("--channel", convert.channel, "take out this one, counted from 1")
        ->check(CLI::Range(1u, 65535u));
    command->add_flag("-f,--force", convert.force, "replace the output");
    command->add_flag("-q,--quiet", convert.quiet, "no word of problems that do not stop the work");
    command->callback([&] { code = Convert(convert); });

    RepairOptions repair;
    command = app.add_subcommand(
        "repair", "a copy with its header set right; says what was found and changed, and guesses nothing");
    command->add_option("FILE", repair.file)->required();
    command->add_option("OUTPUT", repair.output, "else FILE with .repaired in its name");
    command->add_flag("--in-place", repair.inPlace, "change the file itself");
    command->add_flag("-f,--force", repair.force, "replace the output");
    command
        ->add_option("--samples-end", repair.samplesEnd,
                     "where they end in the file, or 'end' for its end; else as the file tells")
        ->check(EndComplaint);
    AddFormat(command, repair.format);
    command->callback([&] { code = Repair(repair); });

    HeaderOptions insert, reserve;
    CLI::App* header = app.add_subcommand("header", "headers for raw samples");
    header->require_subcommand(1);
    command = header->add_subcommand("insert", "put a header before raw samples");
    command->add_option("INPUT", insert.input)->required();
    command->add_option("OUTPUT", insert.output);
    command->add_option("--bytes", insert.bytes, "of the header, with a filler");
    command->add_option("--container", insert.container, "wav or w64; else by the name")
        ->check(CLI::IsMember({"wav", "w64"}));
    command->add_flag("--in-place", insert.inPlace, "over the file's first bytes, which were left for it");
    command->add_flag("-f,--force", insert.force, "replace the output");
    AddFormat(command, insert.format);
    command->callback([&] { code = InsertHeader(insert); });
    command =
        header->add_subcommand("reserve", "an empty file whose samples begin at a place of your choice");
    command->add_option("OUTPUT", reserve.output)->required();
    command->add_option("--bytes", reserve.bytes, "of the header")->required();
    command->add_option("--container", reserve.container, "wav or w64; else by the name")
        ->check(CLI::IsMember({"wav", "w64"}));
    command->add_flag("-f,--force", reserve.force, "replace the output");
    AddFormat(command, reserve.format);
    command->callback([&] { code = ReserveHeader(reserve); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? EXIT_FINE : EXIT_USAGE;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarn-media: %s\n", e.what());
        return EXIT_UNREADABLE;
    }
    return code;
}
