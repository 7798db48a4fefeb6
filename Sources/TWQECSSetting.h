// A preset that exports with one movie exporter, configured by settings kept in the entry.
//
//     auto setting = TWQECSSetting::initWithDictionary(entry);
//     OSType exporter = setting->componentSupType();
#pragma once

#include <memory>

#include "NSData.h"
#include "TWQECS.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQECSSetting : public TWQECS {
  public:
    ~TWQECSSetting() override;

    // As of the base class, sent to this class.
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary,
                                                      const std::shared_ptr<TWQECSReader>& reader);
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSetting> initWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSetting> initWithDictionary(
        const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader);

    /// Has no reader.       (copyWithZone:)
    std::shared_ptr<TWQECS> copy() const override;

    /// "QTExpComponentType"; movie exporters ('spit') when absent.
    OSType componentType() const;
    /// "QTExpComponentSubType", 0 when absent. The name is spelled so on purpose.
    OSType componentSupType() const;
    /// "QTExpComponentManufacturer", 0 when absent.
    OSType componentManufacturer() const;
    /// "QTExpSettings", the flat bytes of an atom container; nil when absent.
    NSData componentSettingsAtomData() const;
    /// Nil takes the settings away.
    void setComponentSettingsAtomData(const NSData& componentSettingsAtomData);

    bool usesExportComponentWithSubtype(OSType subtype, OSType manufacturer) override;
};

}  // namespace TWQuickTime
