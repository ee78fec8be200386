#pragma once

#include "sorblib2core/IPluginObject.h"

namespace ORVEN {

/// Base of every plug-in of a pack.
///
/// **Creation.** The host loads the pack and calls its only export, `CreatePluginInstanceEx(name)`. The host
/// owns the object and destroys it through the virtual destructor before it unloads the pack.
///
/// **Order of calls.** `GetPluginSetup`; `TestParameters`, any number of times; `UpdateParameters`, any
/// number of times; `GetData`; then again from `UpdateParameters`. `Configure` affects all later calls and
/// must precede the first `GetData`. `Reset` may come between any two calls. A plug-in carries no result over
/// from one run to the next.
///
/// **The tree.** "input/documents/focused" holds a `CValuePointer<CValueMap>` to the document in focus,
/// itself a map with "content" (pointer to a `CImage`) and "label" (text). "parameters" holds the values of
/// the call. `GetData` adds "output/documents/add/N", non-owning pointers to new documents, and requests for
/// views below "output/views/create".
///
/// **Ownership.** Everything below "input" belongs to the host. A plug-in keeps plain pointers to it, which
/// are valid for as long as the host keeps its documents. The host takes the new documents out of the tree
/// and owns them from then on, even though the pointer values in the tree are non-owning: a host that ignores
/// them leaks them.
///
/// **Thread.** Only one thread at a time may call an object. Dialogs and message boxes open on that thread,
/// which therefore has to be the user interface thread.
///
/// **Failure.** `TestParameters` never raises. Every other call can raise a `CException` or `std::bad_alloc`.
/// The object then stays usable, and the tree contains nothing incomplete except empty containers.
///
/// *Rationale.* Test, update and run are separate calls so that a host can grey out menu entries for an image
/// without running anything, and can keep a parameter form open while the image changes.
class CPluginBase : public IPluginObject {
public:
    ~CPluginBase() override;

    bool TestInterface(const CString& name) override;

    /// Applies process-wide settings. `context` is not used. The default does nothing.
    virtual void Configure(void* context, CValueMap& settings);

    /// Discards settings or documents. The default does nothing.
    virtual void Reset();

    /// Processes the document that `UpdateParameters` stored, and writes the results into the tree.
    virtual void GetData(CValueMap& tree) = 0;

    /// Whether the tree holds input that `GetData` can process. Reads no pixels. The default requires a
    /// focused document whose content is a non-null pointer value.
    virtual bool TestParameters(const CValueMap& tree);

    /// Copies the document pointer and the parameters from the tree into the object. Reads no pixels.
    /// Parameters missing from the tree keep their previous values.
    virtual void UpdateParameters(const CValueMap& tree) = 0;
};

} // namespace ORVEN
