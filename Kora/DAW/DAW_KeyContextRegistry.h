// DAW_KeyContextRegistry: the keyboard input contexts of the process, by number and by name.
//
// Ownership: as with commands, a registered context is the registry's: it was made by new and never
//            lives on the stack, for it is deleted when a newer one takes its number. What is
//            registered when the process ends is not deleted. To take a context out again, delete it:
//            it leaves the registry as it dies.
// Threads:   the main thread only; nothing is locked.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <functional>
#include <map>
#include <string>

class DAW_KeyboardInputContext;

class KORA_API DAW_KeyContextRegistry
{
public:
    // std::less<> compares a long with the 32-bit numbers as it is: one that does not fit finds nothing.
    using KeyContextMap = std::map<Cmn_Int32, DAW_KeyboardInputContext*, std::less<>>;
    // Is given the context that was registered.
    using NotificationCallback = void (*)(DAW_KeyboardInputContext*);

    // Takes the context, made by new, over, deletes another one of its number, and then calls the
    // callback. A context that is registered already stays, and the callback is called again.
    // Asserts "iContext != nullptr".
    static void RegisterKeyContext(DAW_KeyboardInputContext* iContext);
    // Null when there is none.
    [[nodiscard]] static DAW_KeyboardInputContext* FindKeyContextByID(long iContextID);
    // Of several with exactly this name the one with the lowest number.
    [[nodiscard]] static DAW_KeyboardInputContext* FindKeyContextByName(std::string iName);
    // Called after each registration; null for none.
    static void SetRegistrationNotificationCallback(NotificationCallback iCallback);
    // In ascending order of numbers.
    static const KeyContextMap& GetKeyContextMap();

private:
    friend class DAW_KeyboardInputContext;
    DAW_KeyContextRegistry() = default;
    static KeyContextMap& Contexts();
    // A dying context's entry, if it is its own.
    static void Forget(const DAW_KeyboardInputContext* iContext);

    // Null before its first use; never destroyed, so that contexts may die late.
    static KeyContextMap* sKeyContextMap;
    static NotificationCallback sNotificationCallback;
};
