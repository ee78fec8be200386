#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <QPointer>

#include <map>
#include <memory>
#include <string>

namespace quillon {

class CLocalFiberDirectionsDialog;

/// "LocalFiberDirectionsDialog": asks for the parameters of the plug-in "LocalFiberDirections" in a dialog,
/// and puts them into the tree for it. Opens on the thread that calls `GetData`, which has to be that of the
/// host's user interface.
///
/// What was accepted last is what the next dialog starts from, also that of another object. The dialog itself
/// stays until the next one opens, by contract, and the object's end leaves it alone: a host deletes it with
/// its other windows, before it unloads the pack.
class CLocalFiberDirectionsDialogPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void FindMasks(const ORVEN::CValueMap& tree);
    void AskForParameters(ORVEN::CValueMap& tree);
    void MakeDialog(const ORVEN::CImage& image);
    [[nodiscard]] std::unique_ptr<ORVEN::CValueMap> ParametersOfDialog() const;
    [[nodiscard]] std::unique_ptr<ORVEN::CValueMap> AdvancedParametersOfDialog() const;

    QPointer<CLocalFiberDirectionsDialog> m_dialog; // owned, but the host can be faster
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::map<std::string, const ORVEN::CImage*> m_maskImages;
};

} // namespace quillon
