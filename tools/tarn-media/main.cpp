// Media files from the command line: tarn-media info take.wav
#include "tools/tarn-media/file_plugins.h"
#include "tools/tarn-media/film.h"
#include "tools/tarn-media/meta.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <tuple>

namespace {

std::string TypeComplaint(const std::string& name) {
    return TypeByName(name) ? std::string() : "'" + name + "' is none of " + TypeNames();
}

std::string EndComplaint(const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() < 19 && text.find_first_not_of("0123456789") == text.npos;
    return isNumber || text == "end" ? std::string() : "'" + text + "' is neither a place nor 'end'";
}

std::string TimeComplaint(const std::string& text) {
    TimePoint time;
    return ParseTime(text, &time) ? std::string() : "'" + text + "' is no time";
}

/// Empty for what is none.
std::vector<std::vector<double>> MatrixOf(const std::string& text) {
    std::vector<std::vector<double>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line, ';');) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, ',');) {
            double gain = 0;
            const char* end = cell.data() + cell.size();
            const auto [at, error] = std::from_chars(cell.data(), end, gain);
            if (error != std::errc() || at != end || !std::isfinite(gain)) return {};
            rows.back().push_back(gain);
        }
        if (rows.back().empty() || rows.back().size() != rows.front().size()) return {};
    }
    return rows;
}
std::string MatrixComplaint(const std::string& text) {
    return MatrixOf(text).empty() ? "'" + text + "' is no matrix, such as '1,0;0,1'" : std::string();
}

/// Nothing for what is none.
Normalize NormalizeOf(const std::string& text) {
    constexpr double BROADCAST = -23, LOWEST = -200, HIGHEST = 60;
    const size_t equals = std::min(text.find('='), text.size());
    const std::string name = text.substr(0, equals);
    Normalize n{name == "peak"       ? Normalize::Peak
                : name == "loudness" ? Normalize::Loudness
                                     : Normalize::Nothing};
    n.level = n.kind == Normalize::Loudness ? BROADCAST : 0;
    if (equals == text.size()) return n;
    const char* end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data() + equals + 1, end, n.level);
    const bool isLevel = error == std::errc() && at == end && n.level >= LOWEST && n.level <= HIGHEST;
    return isLevel ? n : Normalize{};
}
std::string NormalizeComplaint(const std::string& text) {
    return NormalizeOf(text).kind == Normalize::Nothing
               ? "'" + text + "' is neither peak nor loudness, nor a level"
               : std::string();
}

void AddFormat(CLI::App* command, FormatOptions& format) {
    command->add_option("--type", format.type, "of the samples: " + TypeNames())->check(TypeComplaint);
    command->add_option("--rate", format.rate, "frames a second")->check(CLI::Range(1u, 10000000u));
    command->add_option("--channels", format.channels, "in a frame")->check(CLI::Range(1u, 1024u));
}

void AddBatch(CLI::App* command, BatchOptions& batch, const char* name = "FILE") {
    command->add_option(name, batch.files);
    command->add_flag("-r,--recursive", batch.recursive, "a folder stands for the media files below it");
    command->add_flag("--names-from-stdin", batch.fromInput,
                      "names of more files come on standard input, one a line");
    command->add_flag("-0,--null", batch.byZeros, "they come there and end with a zero");
    command->add_option("-j,--jobs", batch.jobs, "files at a time")->check(CLI::Range(1u, 256u));
    command->add_flag("--json-lines", batch.jsonLines, "one object a file on a line of its own");
}

int ConvertAll(const ConvertOptions& options, BatchOptions batch, const std::string& folder) {
    namespace fs = std::filesystem;
    if (!folder.empty() && options.container.empty())
        return Complain(folder, "--to-folder needs --container", EXIT_USAGE);
    std::string output;
    if (folder.empty()) {
        if (batch.files.size() != 2 || batch.fromInput || batch.byZeros || batch.recursive)
            return Complain("convert", "INPUT and OUTPUT, or many inputs and --to-folder", EXIT_USAGE);
        output = batch.files.back();
        batch.files.pop_back();
    }
    batch.endings = EndingsOfReaders;
    return RunBatch(batch, [&](const std::string& input) {
        ConvertOptions one = options;
        one.input = input;
        const bool isWave = options.container == "rf64" || options.container == "bw64";
        one.output = output.empty() ? (fs::path(folder) / (fs::path(input).stem().string() + "." +
                                                           (isWave ? "wav" : options.container)))
                                          .string()
                                    : output;
        FileResult result;
        result.code = Convert(one);
        result.json["output"] = one.output;
        return result;
    });
}

void AddEdit(CLI::App* command, MetaOptions& meta) {
    command->add_flag("-n,--dry-run", meta.dryRun, "say what would be written");
    command->add_flag("--checksum", meta.checksum, "of the samples, before and after");
    command->add_option("-o,--output", meta.output, "a copy in the place of the file itself");
    command->add_flag("-f,--force", meta.force, "replace the copy");
}

/// Adds a command. Null when the program was not called with it: what it takes need not be told then, which
/// is a good part of what a start costs.
class Commands {
public:
    Commands(int argc, char** argv) : m_arguments(argv, argv + argc) {}
    CLI::App* Add(CLI::App& to, const char* name, const char* text) const {
        CLI::App* command = to.add_subcommand(name, text);
        return std::ranges::find(m_arguments, name) == m_arguments.end() ? nullptr : command;
    }

private:
    const std::vector<std::string> m_arguments;
};

/// The commands of `meta`. What they are called with lives as long as the program.
void AddMeta(CLI::App& app, const Commands& commands, int& code) {
    static MetaOptions show, set, copy, strip, exported, imported, check;
    CLI::App* meta =
        commands.Add(app, "meta", "what files tell beside their samples: titles, markers, takes, loudness");
    if (!meta) return;
    meta->require_subcommand(1);
    const auto kinds = [](CLI::App* command, MetaOptions& options) {
        command
            ->add_option("--kinds", options.kinds,
                         "of these alone: bext, info, ixml, cue, smpl, ... or a chunk's id")
            ->delimiter(',')
            ->allow_extra_args(false);
    };
    if (CLI::App* command = commands.Add(*meta, "show", "each value with its key")) {
        AddBatch(command, show.batch);
        kinds(command, show);
        command->add_flag("--json", show.json, "for programs");
        command->callback([&code] { code = MetaShow(show); });
    }
    if (CLI::App* command =
            commands.Add(*meta, "set",
                         "in place: FILE... KEY=VALUE..., such as info.INAM=Title; no VALUE takes it away")) {
        AddBatch(command, set.batch, "FILE_OR_SETTING");
        AddEdit(command, set);
        command->callback([&code] { code = MetaSet(set); });
    }
    if (CLI::App* command = commands.Add(*meta, "copy", "from one file into others, of any container")) {
        command->add_option("FROM", copy.from)->required();
        AddBatch(command, copy.batch, "TO");
        kinds(command, copy);
        AddEdit(command, copy);
        command->callback([&code] { code = MetaCopy(copy); });
    }
    if (CLI::App* command = commands.Add(*meta, "strip", "takes away all, or some kinds")) {
        AddBatch(command, strip.batch);
        kinds(command, strip);
        AddEdit(command, strip);
        command->callback([&code] { code = MetaStrip(strip); });
    }
    if (CLI::App* command = commands.Add(*meta, "export", "all of it as JSON, byte for byte")) {
        AddBatch(command, exported.batch);
        kinds(command, exported);
        command->callback([&code] { code = MetaExport(exported); });
    }
    if (CLI::App* command = commands.Add(*meta, "import", "what export made, edited or not, into a file")) {
        static std::string target;
        command->add_option("FILE", target)->required();
        command->add_option("JSON", imported.from)->required();
        AddEdit(command, imported);
        command->callback([&code] {
            imported.batch.files = {target};
            code = MetaImport(imported);
        });
    }
    if (CLI::App* command = commands.Add(*meta, "check", "each deviation from what the standards tell")) {
        AddBatch(command, check.batch);
        command->callback([&code] { code = MetaCheck(check); });
    }
}

}  // namespace

int main(int argc, char** argv) try {
    std::setlocale(LC_CTYPE, "");  // all of them are thirteen files
    const Commands commands(argc, argv);
    CLI::App app("Looks at, converts and mends wave, Wave64 and AIFF files.", "tarn-media");
    app.footer("Exit codes: 0 fine, 1 verify found an error or repair left one, 2 a file cannot be read or "
               "written, 3 asked for wrongly.\n"
               "Examples:\n"
               "  tarn-media info take.wav\n"
               "  tarn-media convert take.wav take.aiff --type pcm24 --gain -3\n"
               "  tarn-media repair crashed.wav\n"
               "  tarn-media meta set take.wav info.INAM=Dawn bext.Description='Scene 3, take 2'\n"
               "  tarn-media header insert raw.pcm take.wav --type pcm24 --rate 96000 --channels 2");
    app.require_subcommand(1);
    int code = EXIT_FINE;

    InfoOptions info, verify;
    for (const auto& [name, text, options, run] :
         {std::tuple("info", "container, format, length, chunks with offsets and sizes", &info, &Info),
          std::tuple("verify", "every problem of the file's structure, with its offset", &verify, &Verify)})
        if (CLI::App* command = commands.Add(app, name, text)) {
            AddBatch(command, options->batch);
            command->add_flag("--json", options->json, "for programs");
            command->callback([&code, options = options, run = run] { code = run(*options); });
        }

    ConvertOptions convert;
    BatchOptions converted;
    std::string folder, matrix, start, end, length, normalize;
    if (CLI::App* command = commands.Add(app, "convert",
                                         "to another container, type of samples, rate, level, channels; "
                                         "INPUT OUTPUT, either may be -, or INPUT... --to-folder")) {
        AddBatch(command, converted, "INPUT_OUTPUT");
        command->add_option("--to-folder", folder,
                            "of many inputs: the outputs, under their names with the container's ending");
        command->add_flag("--no-metadata", convert.dropsMetadata,
                          "titles, markers and the like are left out");
        command->add_flag("--drop-lost", convert.dropsLost,
                          "no side file for metadata that the output cannot hold");
        command->add_option("--type", convert.type, "of the samples: " + TypeNames() + "; else as they are")
            ->check(TypeComplaint);
        command->add_option(
            "--container", convert.container,
            "wav, rf64, bw64, w64, aiff, aifc, or an ending that 'plugins' lists; else by the output's name");
        command->add_option("--template", convert.settings,
                            "how it is written, such as 'MP3, 192 kbps'; 'plugins --templates' lists them");
        command->add_option("--gain", convert.gain, "in decibels")->check(CLI::Range(-200.0, 200.0));
        command->add_option("--rate", convert.rate, "frames a second; else as they are")
            ->check(CLI::Range(1u, 10000000u));
        command
            ->add_option("--channels", convert.channels,
                         "1 is the mean of two, 2 or 1 of surround by ITU-R BS.775; more repeat a single one")
            ->check(CLI::Range(1u, 1024u));
        command
            ->add_option("--map,--channel", convert.map,
                         "channels to take, from 1, such as 2,1; 0 is silence")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(CLI::Range(0u, 65535u));
        command
            ->add_option("--matrix", matrix,
                         "gains of the channels, rows apart by ';': '0.5,0.5;1,0' makes two")
            ->check(MatrixComplaint);
        command->add_option("--start", start, "the first frame: seconds, m:s, h:m:s, or frames as 48000s")
            ->check(TimeComplaint);
        command->add_option("--end", end, "behind the last frame, likewise")->check(TimeComplaint);
        command->add_option("--length", length, "in the place of --end")->check(TimeComplaint);
        command->add_option("--normalize", normalize, "peak, loudness, peak=-1 (dBFS) or loudness=-16 (LUFS)")
            ->check(NormalizeComplaint);
        command
            ->add_option(
                "--dither", convert.dither,
                "auto: where bits are lost, or tpdf: always, or none; the noise is the same each time")
            ->check(CLI::IsMember({"auto", "tpdf", "none"}));
        command->add_flag("-f,--force", convert.force, "replace the output");
        command->add_flag("-q,--quiet", convert.quiet, "no word of problems that do not stop the work");
        command->callback([&] {
            ParseTime(start, &convert.start);
            ParseTime(end, &convert.end);
            ParseTime(length, &convert.length);
            convert.matrix = MatrixOf(matrix);
            convert.normalize = NormalizeOf(normalize);
            if (!matrix.empty() + !convert.map.empty() + (convert.channels != 0) > 1)
                code = Complain("convert", "one of --channels, --map and --matrix", EXIT_USAGE);
            else if (convert.end.isGiven && convert.length.isGiven)
                code = Complain("convert", "one of --end and --length", EXIT_USAGE);
            else
                code = ConvertAll(convert, converted, folder);
        });
    }

    PluginsOptions plugins;
    if (CLI::App* command =
            commands.Add(app, "plugins", "what reads and writes other kinds of files, and where it runs")) {
        command->add_flag("--templates", plugins.templates, "how each writes: names for convert --template");
        command->add_flag("--json", plugins.json, "for programs");
        command->add_flag("--log", plugins.log, "what the manager does, on standard error");
        command->add_flag("--fresh", plugins.fresh, "ask each again, whatever is known from before");
        command->callback([&] { code = ListPlugins(plugins); });
    }

    FrameOptions frame;
    if (CLI::App* command = commands.Add(app, "frame", "a picture of a film as a PNG")) {
        command->add_option("FILE", frame.input)->required();
        command->add_option("OUTPUT", frame.output)->required();
        command->add_option("--frame", frame.frame, "which, from 0");
        command->add_option("--stream", frame.stream, "of the film's streams of pictures, from 0");
        command->add_flag("-f,--force", frame.force, "replace the output");
        command->callback([&] { code = SaveFrame(frame); });
    }

    TextsOptions texts;
    if (CLI::App* command = commands.Add(app, "texts", "the subtitles of a film, with their times")) {
        command->add_option("FILE", texts.input)->required();
        command->add_option("--stream", texts.stream, "of the film's streams of texts, from 0");
        command->callback([&] { code = PrintTexts(texts); });
    }

    RepairOptions repair;
    if (CLI::App* command = commands.Add(
            app, "repair",
            "a copy with its header set right; says what was found and changed, and guesses nothing")) {
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
    }

    AddMeta(app, commands, code);

    HeaderOptions insert, reserve;
    if (CLI::App* header = commands.Add(app, "header", "headers for raw samples")) {
        header->require_subcommand(1);
        if (CLI::App* command = commands.Add(*header, "insert", "put a header before raw samples")) {
            command->add_option("INPUT", insert.input)->required();
            command->add_option("OUTPUT", insert.output);
            command->add_option("--bytes", insert.bytes, "of the header, with a filler");
            command->add_option("--container", insert.container, "wav or w64; else by the name")
                ->check(CLI::IsMember({"wav", "w64"}));
            command->add_flag("--in-place", insert.inPlace,
                              "over the file's first bytes, which were left for it");
            command->add_flag("-f,--force", insert.force, "replace the output");
            AddFormat(command, insert.format);
            command->callback([&] { code = InsertHeader(insert); });
        }
        if (CLI::App* command = commands.Add(*header, "reserve",
                                             "an empty file whose samples begin at a place of your choice")) {
            command->add_option("OUTPUT", reserve.output)->required();
            command->add_option("--bytes", reserve.bytes, "of the header")->required();
            command->add_option("--container", reserve.container, "wav or w64; else by the name")
                ->check(CLI::IsMember({"wav", "w64"}));
            command->add_flag("-f,--force", reserve.force, "replace the output");
            AddFormat(command, reserve.format);
            command->callback([&] { code = ReserveHeader(reserve); });
        }
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? EXIT_FINE : EXIT_USAGE;
    }
    return code;
} catch (const std::exception& e) {
    std::fprintf(stderr, "tarn-media: %s\n", e.what());
    return EXIT_UNREADABLE;
}
