// `twqt exporters`: the catalogue of movie exporters.
#include <Components.h>
#include <MovieExport.h>
#include <TWUQuickTimeComponent.h>

#include "Command.h"
#include "ComponentName.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct ExportersOptions {
    bool all = false;
    bool json = false;
};

/// An exporter that the catalogue leaves out, in the form of the catalogue.
Json entryOf(Component component) {
    ComponentDescription description;
    GetComponentInfo(component, &description, nullptr, nullptr, nullptr);
    const std::string name = componentName(component);
    Json entry = {{"componentName", name.empty() ? "-" : name},
                  {"componentType", description.componentType},
                  {"componentSubType", description.componentSubType},
                  {"ComponentSubTypeFourCharCode", fourCharCodeText(description.componentSubType)},
                  {"componentManufacturer", description.componentManufacturer},
                  {"componentHasUserInterface",
                   (description.componentFlags & hasMovieExportUserInterface) != 0}};
    ComponentInstance instance = OpenComponent(component);
    const NSString extension = TWUQuickTimeComponent::filenameExtensionForComponent(instance);
    if (!extension.isNil())
        entry["exportedMovieFileExtension"] = jsonFromString(extension);
    if (instance)
        CloseComponent(instance);
    return entry;
}

Json allExporters() {
    Json list = Json::array();
    const ComponentDescription wanted{.componentType = MovieExportType};
    for (Component c = FindNextComponent(nullptr, &wanted); c; c = FindNextComponent(c, &wanted))
        list.push_back(entryOf(c));
    return list;
}

void run(const ExportersOptions& options) {
    const Json list =
        options.all
            ? allExporters()
            : jsonFromPropertyList(TWUQuickTimeComponent::allAvailableMovieExportComponents());
    if (options.json) {
        printJson(list);
        return;
    }
    TextTable table({{"Type"}, {"Name"}, {"Extension"}, {"Dialog"}});
    for (const Json& entry : list)
        table.addRow({entry.value("ComponentSubTypeFourCharCode", ""),
                      entry.value("componentName", ""),
                      entry.value("exportedMovieFileExtension", ""),
                      entry.value("componentHasUserInterface", false) ? "yes" : "no"});
    table.print();
}

const CommandRegistration registration("exporters", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "exporters", "Exporters that are installed", "twqt exporters --all");
    auto options = std::make_shared<ExportersOptions>();
    command->add_flag("--all", options->all, "also those that are not for pictures");
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
