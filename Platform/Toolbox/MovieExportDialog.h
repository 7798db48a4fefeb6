// Who shows a movie exporter's dialog.
//
// The library has no windows of its own: a host gives a presenter that lets the user change the
// settings, in whatever way suits the host. Without one there is no dialog. One for terminals comes
// with the library (TerminalExportDialog.h).
//
//     SetMovieExportDialogPresenter([](MovieExportDialog& dialog) {
//         return editInWindow(dialog) ? MovieExportDialogAnswer::accepted
//                                     : MovieExportDialogAnswer::canceled;
//     });
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "ToolboxTypes.h"

namespace TWQuickTime {

/// One setting that the user can change.
struct MovieExportDialogField {
    std::string key;    ///< "videoCodec", "frameRate" …
    std::string label;  ///< for the user, English
    std::string value;  ///< as text; see `hint`
    std::string hint;   ///< what may be entered
};

class TWQT_EXPORT MovieExportDialog {
  public:
    /// Takes a complete atom container over into the exporter, or with a status nothing of it.
    using Apply = std::function<ComponentResult(std::span<const std::byte> settings)>;

    /// @param apply  none for settings that belong to no open exporter
    MovieExportDialog(std::string exporterName, std::span<const std::byte> settings,
                      Apply apply = {});

    const std::string& exporterName() const { return exporterName_; }
    /// All settings that the container holds, in their order of importance.
    std::vector<MovieExportDialogField> fields() const;
    /// False, and nothing changed, for an unknown key or a text that is no value of that field.
    bool setValue(const std::string& key, const std::string& text);
    /// The complete atom container as it is now.
    const std::vector<std::byte>& settings() const { return settings_; }
    /// Hands the settings to the exporter, for presenters that want to ask again when it refuses
    /// them. An accepted dialog does so anyway; after a success here it cannot be cancelled.
    ComponentResult apply() const { return apply_ ? apply_(settings_) : noErr; }

  private:
    std::string exporterName_;
    std::vector<std::byte> settings_;
    Apply apply_;
};

enum class MovieExportDialogAnswer { accepted, canceled };

using MovieExportDialogPresenter = std::function<MovieExportDialogAnswer(MovieExportDialog&)>;

/// Replaces the presenter of this process (none: an empty function) and returns the one before it.
/// It is called on the thread that asks for the dialog.
TWQT_EXPORT MovieExportDialogPresenter
SetMovieExportDialogPresenter(MovieExportDialogPresenter presenter);

/// Shows the dialog and hands the edited settings to `apply`. badComponentSelector without a
/// presenter.
ComponentResult presentMovieExportDialog(const std::string& exporterName,
                                         std::span<const std::byte> settings,
                                         const MovieExportDialog::Apply& apply, bool& canceled);

}  // namespace TWQuickTime
