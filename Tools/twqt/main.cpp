// The command-line host: one subcommand per file, each registered below.
#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
    CLI::App app{"Movies, export presets and sound from the command line"};
    app.require_subcommand(1);
    CLI11_PARSE(app, argc, argv);
    return 0;
}
