// `twqt presets edit`: opens the exporter's dialog on a setting of a preset file.
#include <MovieExportDialog.h>
#include <TWQECSReader.h>
#include <TWQECSSequence.h>
#include <TWQECSSetting.h>
#include <TerminalExportDialog.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "Command.h"
#include "CommandFailure.h"
#include "MovieArgument.h"
#include "PresetCommands.h"
#include "PresetFile.h"
#include "PresetIdentifier.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct EditOptions {
    std::string file;
    std::string id;
};

/// A sequence of one step is edited at its setting, as its own dialog would do.
PropertyListValue settingOfSequence(const EditOptions& options) {
    const auto reader = TWQECSReader::qecsReaderWithPath(NSString(options.file));
    const auto preset = reader ? presetWithIdentifier(*reader, options.id) : nullptr;
    const auto sequence = std::dynamic_pointer_cast<TWQECSSequence>(preset);
    if (!sequence)
        throw CommandFailure("preset " + options.id, "not in " + options.file + " (-43)");
    if (!sequence->isSingleStep())
        throw CommandFailure("edit preset " + options.id,
                             "a sequence has a dialog when it has one step that is installed (" +
                                 std::to_string(paramErr) + ")");
    return sequence->lastStep()->identifier();
}

/// Asks in the terminal while it lives.
class TerminalDialog {
  public:
    TerminalDialog() {
        SetMovieExportDialogPresenter([this](MovieExportDialog& dialog) {
            const auto answer = presentMovieExportDialogInTerminal(dialog, std::cin, std::cerr);
            wasCanceled_ = answer == MovieExportDialogAnswer::canceled;
            return answer;
        });
    }
    ~TerminalDialog() { SetMovieExportDialogPresenter({}); }
    TerminalDialog(const TerminalDialog&) = delete;
    TerminalDialog& operator=(const TerminalDialog&) = delete;

    bool wasCanceled() const { return wasCanceled_; }

  private:
    bool wasCanceled_ = false;
};

void requireExporter(TWQECSSetting& setting, const std::string& id) {
    if (setting.componentInstance())
        return;
    (void)setting.isInstalled();
    const ComponentInstallationFault fault = setting.installationFault();
    throw CommandFailure("edit preset " + id,
                         "exporter or settings: " + fault.description().utf8() + " (" +
                             std::to_string(fault.status) + ")");
}

void run(const EditOptions& options) {
    const QuietLog quiet;
    PresetFile file = PresetFile::open("edit preset in", options.file);
    PropertyListValue identifier = file.identifierNamed(PresetKind::setting, options.id);
    if (!identifier)
        identifier = settingOfSequence(options);
    const auto setting =
        TWQECSSetting::initWithDictionary(file.entry(PresetKind::setting, identifier));
    requireExporter(*setting, options.id);
    const TerminalDialog dialog;
    const OSStatus status = setting->customizeComponentSettingsWithComponentDialogForMovie(nullptr);
    if (status != noErr)
        throw failureWithStatus("edit preset " + options.id, status);
    if (dialog.wasCanceled()) {
        std::cerr << "cancelled, " << options.file << " is as it was\n";
        return;
    }
    file.put(PresetKind::setting, setting->QECSDict());
    file.save();
    std::printf("%s: setting %s changed\n", options.file.c_str(),
                identifier.description().utf8().c_str());
}

}  // namespace

void addPresetsEditCommand(CLI::App& presets) {
    CLI::App* command = addCommand(presets, "edit", "Opens the exporter's dialog on a setting",
                                   "twqt presets edit mine.qecs --id web");
    auto options = std::make_shared<EditOptions>();
    command->add_option("FILE", options->file, "the preset file")->required();
    command->add_option("--id", options->id, "identifier of the setting")->required();
    command->callback([options] { run(*options); });
}

}  // namespace twqt
