// The debug channel: the one place where the library's diagnostic lines leave the process.
//
// Windows hands the text to an attached debugger (or a system debug monitor); on Linux the lines go
// to standard error. A process may install a hook that receives every line instead, so that a
// host shows them its own way and tests can capture them.
#pragma once

#include "platform/types.h"

namespace Platform {

// Sends `text` to the debug channel. Null is ignored. Any thread may call.
void OutputDebugStringW(LPCWSTR text);
void OutputDebugStringA(const char* text);

// True while a debugger (a tracer, on Linux) is attached to the process.
BOOL IsDebuggerPresent();

// Receives each line of the debug channel as UTF-8, exactly as written (line feeds included).
using DebugChannelHook = void (*)(void* context, const char* utf8Text);

// Routes the channel to `hook` (with `context`) instead of its default output; null restores the
// default. The hook is called on the writing thread and must be thread-safe. Any thread may call;
// a line being written while the hook changes goes to either the old or the new destination.
void SetDebugChannelHook(DebugChannelHook hook, void* context);

}  // namespace Platform
