#pragma once

namespace ORVEN {

class CValueMap;
class CValueVector;

/// A modal dialog generated from a description of its values, for plug-ins that need few inputs.
///
/// The description is a vector. Its first element is the title; each further element is a map that describes
/// one value: "caption" is the text beside the input, "entry" the key of the value, "type" its kind, which is
/// "string", "default" the initial contents, and for a choice "selection" a map of the texts to choose from.
/// The input widget of a value has the object name "choice:" followed by the key.
class CAutoDialogPluginWrapper {
public:
    /// Returns the description; the caller owns it.
    virtual CValueVector* CreateDialogDescription() = 0;
    /// Returns the current values by key; the caller owns the map.
    virtual CValueMap* GetDialogValues() = 0;
    /// Stores the values of an accepted dialog; false if they are invalid.
    virtual bool SetDialogValues(CValueMap& values) = 0;

    virtual ~CAutoDialogPluginWrapper();

    /// Shows the dialog above the host's main window and waits until it is closed. Returns false if it was
    /// cancelled or its values are invalid. Raises `CException` if the description does not have the form
    /// above.
    bool show();
};

} // namespace ORVEN
