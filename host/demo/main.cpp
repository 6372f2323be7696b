// tarn-demo: makes the demo project in a folder.
#include "host/demo/demo_project.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) try {
    std::string folder;
    bool force = false;
    CLI::App app("Makes a demo project, or leaves a current one alone. Prints the path of its session.");
    app.add_option("folder", folder, "where the project lies or shall lie")->required();
    app.add_flag("--force", force, "make it anew, and its session as it was at first");
    CLI11_PARSE(app, argc, argv);
    host::MakeDemoProject(folder, {}, force);
    std::cout << (std::filesystem::path(folder) / host::kDemoSessionFile).string() << '\n';
    return 0;
} catch (const std::exception& e) {
    std::cerr << "tarn-demo: " << e.what() << '\n';
    return 1;
}
