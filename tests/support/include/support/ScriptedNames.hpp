#pragma once

/// Names that the system's resolver looks up in the test's own way, in every program that is linked with the library
/// zol_test_names, or has it preloaded (LD_PRELOAD). The look-up itself is that of the C library, its threads included;
/// no file of the system and no network is asked.
///
/// | name | is |
/// |---|---|
/// | `in<N>.names.example` | 127.0.0.1, after N milliseconds |
/// | `in<N>.<anything>.names.example` | the same |
/// | `many.names.example` | 127.0.0.3, ::1, 127.0.0.1, 127.0.0.2 |
/// | `broken.names.example` | EAI_AGAIN |
namespace zol_test::ScriptedNames
{

/// How many look-ups of such names the service has begun and ended so far in this process.
int begun();
int ended();

/// How many of them had another name in their memory at the end than at the beginning: it was freed under them.
int damaged();

} // namespace zol_test::ScriptedNames
