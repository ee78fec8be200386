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

/// "LocalFiberDirectionsDialog": asks for the parameters of the plug-in "LocalFiberDirections" in a dialog
/// and stores them in the tree. The dialog opens on the thread that calls `GetData`, which has to be the
/// host's user interface thread.
///
/// A new dialog starts from the values that were accepted last, even if another object asked for them. The
/// dialog deliberately stays alive until the next one opens, and the plug-in's destructor does not delete it:
/// the host deletes it with its other windows, before it unloads the pack.
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

    QPointer<CLocalFiberDirectionsDialog> m_dialog; // owned, but the host may delete it first
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::map<std::string, const ORVEN::CImage*> m_maskImages;
};

} // namespace quillon
