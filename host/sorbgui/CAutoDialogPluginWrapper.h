#pragma once

namespace ORVEN {

class CValueMap;
class CValueVector;

/// A modal dialog made from a description of its values, for plug-ins that ask for little.
///
/// The description is a vector: at place 0 the title, and behind it a map for each value to ask for:
/// "caption" is the text beside the input, "entry" the key of the value, "type" its kind, which is "string",
/// "default" what stands in the input at first, and "selection" a map of the texts to choose from, if it is a
/// choice. The input of a value has the object name "choice:" and its key.
class CAutoDialogPluginWrapper {
public:
    /// The description; the caller owns it.
    virtual CValueVector* CreateDialogDescription() = 0;
    /// The values as they are, by key; the caller owns the map.
    virtual CValueMap* GetDialogValues() = 0;
    /// Takes over the values of an accepted dialog; false if they are no good.
    virtual bool SetDialogValues(CValueMap& values) = 0;

    virtual ~CAutoDialogPluginWrapper();

    /// Shows the dialog above the host's main window and waits for its end. False if it was cancelled, or its
    /// values are no good. Raises `CException` for a description that is not as told.
    bool show();
};

} // namespace ORVEN
