// A movie exporter's dialog for terminals: shows every field of the settings with what may be
// entered, and changes them line by line until the user saves or gives up.
//
//     SetMovieExportDialogPresenter([](MovieExportDialog& dialog) {
//         return presentMovieExportDialogInTerminal(dialog, std::cin, std::cerr);
//     });
//
// The user types "2 jpeg" (or "2", and the value on the next line), "s" to save, "q" to cancel, and
// nothing to see the fields again. The end of the input cancels.
#pragma once

#include <iosfwd>

#include "MovieExportDialog.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Asks on the calling thread and returns when the user is done. Settings that the exporter refuses
/// are said so, and the user can go on changing them.
TWQT_EXPORT MovieExportDialogAnswer presentMovieExportDialogInTerminal(MovieExportDialog& dialog,
                                                                       std::istream& input,
                                                                       std::ostream& output);

}  // namespace TWQuickTime
