#pragma once

#include "sorblib2core/IPluginObject.h"

namespace ORVEN {

/// Base of every plug-in of a pack.
///
/// **Creation.** The host loads the pack and calls its one export, `CreatePluginInstanceEx(name)`. It owns
/// the object and destroys it through the virtual destructor, before it unloads the pack.
///
/// **Order of calls.** `GetPluginSetup`; `TestParameters`, any number of times; `UpdateParameters`, any
/// number of times; `GetData`; and again from `UpdateParameters`. `Configure` works on everything that comes
/// after it and stands before the first `GetData`; `Reset` may come between any two calls. A plug-in keeps no
/// result of one run for the next.
///
/// **The tree.** "input/documents/focused" holds a `CValuePointer<CValueMap>` to the document in focus,
/// itself a map with "content" (pointer to a `CImage`) and "label" (text). "parameters" holds the values of
/// the call. `GetData` adds "output/documents/add/N", non-owning pointers to new documents, and requests for
/// views below "output/views/create".
///
/// **Ownership.** Everything below "input" belongs to the host, and a plug-in keeps plain pointers to it that
/// are good for as long as the host keeps its documents. The host takes the new documents out of the tree and
/// owns them from then on, though the pointer values there are non-owning: a host that forgets them leaks
/// them.
///
/// **Thread.** One thread drives one object at a time. Dialogs and message boxes open on that thread, which
/// therefore has to be the user interface thread.
///
/// **Failure.** `TestParameters` never raises. Every other call can raise a `CException` or `std::bad_alloc`;
/// the object stays usable, and the tree holds nothing half built but empty containers.
///
/// *Rationale.* Test, update and run are separate so that a host can grey out menu entries for an image
/// without running anything, and can open a parameter form while the image changes.
class CPluginBase : public IPluginObject {
public:
    ~CPluginBase() override;

    bool TestInterface(const CString& name) override;

    /// Takes process-wide settings; `context` is not read. The default does nothing.
    virtual void Configure(void* context, CValueMap& settings);

    /// Forgets settings or documents. The default does nothing.
    virtual void Reset();

    /// Does all the work on the document that `UpdateParameters` stored, and writes results into the tree.
    virtual void GetData(CValueMap& tree) = 0;

    /// Whether the tree holds input that `GetData` can work on; touches no pixel. The default asks for a
    /// focused document whose content is a pointer value that is not null.
    virtual bool TestParameters(const CValueMap& tree);

    /// Copies the document pointer and the parameters of the tree into the object; touches no pixel. What is
    /// missing in the tree keeps its earlier value.
    virtual void UpdateParameters(const CValueMap& tree) = 0;
};

} // namespace ORVEN
