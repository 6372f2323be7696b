// LV2 bundles of the tests' own, in a folder that goes with the object.
#pragma once

#include "host/effects/lv2_library.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

class Bundles {
public:
    Bundles() {
        std::string name = std::filesystem::temp_directory_path() / "tarn-effects-XXXXXX";
        folder = ::mkdtemp(name.data());
        // What else this machine has must not matter.
        for (const auto& bundle : std::filesystem::directory_iterator("/usr/lib/lv2")) {
            const std::string file = bundle.path().filename();
            if (IsOfTheStandard(bundle.path()) || file == "mda.lv2" || file.starts_with("eg-"))
                create_directory_symlink(bundle.path(), folder / file);
        }
    }
    ~Bundles() { std::filesystem::remove_all(folder); }

    static std::string Port(int index, const char* symbol, const std::string& what) {
        return " ; lv2:port [ " + what + " ; lv2:index " + std::to_string(index) + " ; lv2:symbol \"" +
               symbol + "\" ; lv2:name \"" + symbol + "\" ]";
    }
    /// The plug-in of that name in the library, with the usual ports, and what else is to be said of it.
    static std::string Plugin(const std::string& name, const std::string& more = {},
                              const std::string& library = FAULTY_LIBRARY) {
        return "<urn:tarn:test:" + name + "> a lv2:Plugin ; lv2:binary <file://" + library +
               "> ; doap:name \"" + name + "\"" + Port(0, "in", "a lv2:InputPort , lv2:AudioPort") +
               Port(1, "out", "a lv2:OutputPort , lv2:AudioPort") +
               Port(2, "control", "a lv2:InputPort , lv2:ControlPort ; lv2:maximum 1e9") +
               Port(3, "shown",
                    std::string("a lv2:OutputPort , lv2:ControlPort") +
                        (name == "latency" ? " ; lv2:portProperty lv2:reportsLatency" : "")) +
               Port(4, "events",
                    "a lv2:InputPort , atom:AtomPort ; atom:bufferType atom:Sequence ; atom:supports "
                    "midi:MidiEvent , time:Position") +
               Port(5, "told", "a lv2:OutputPort , atom:AtomPort ; atom:bufferType atom:Sequence") + more +
               " .\n";
    }
    void Add(const std::string& bundle, const std::string& turtle) const {
        create_directory(folder / bundle);
        std::ofstream(folder / bundle / "manifest.ttl")
            << "@prefix lv2: <http://lv2plug.in/ns/lv2core#> . @prefix atom: "
               "<http://lv2plug.in/ns/ext/atom#> .\n"
               "@prefix midi: <http://lv2plug.in/ns/ext/midi#> . @prefix time: "
               "<http://lv2plug.in/ns/ext/time#> .\n"
               "@prefix doap: <http://usefulinc.com/ns/doap#> . @prefix rdfs: "
               "<http://www.w3.org/2000/01/rdf-schema#> .\n"
               "@prefix pset: <http://lv2plug.in/ns/ext/presets#> . @prefix pprop: "
               "<http://lv2plug.in/ns/ext/port-props#> .\n"
               "@prefix ui: <http://lv2plug.in/ns/extensions/ui#> . @prefix units: "
               "<http://lv2plug.in/ns/extensions/units#> .\n"
            << turtle;
    }
    /// Beside Debian's examples, and with a cache of their own.
    host::Lv2LibraryOptions Options() const {
        host::Lv2LibraryOptions options;
        options.folders = {folder};
        options.cacheFile = folder / "cache" / "effects.json";
        return options;
    }

    std::filesystem::path folder;

private:
    static bool IsOfTheStandard(const std::filesystem::path& bundle) {
        using Files = std::filesystem::directory_iterator;
        return std::none_of(Files(bundle), Files(),
                            [](const auto& file) { return file.path().extension() == ".so"; });
    }
};
