#pragma once
// The running executable, as the kernel names it. Shared by the main bundle
// (the folder that holds the executable) and the user defaults (whose
// application domain falls back to the executable's name).

#include <string>

namespace tq::detail {

/// The absolute path of the running executable (/proc/self/exe); empty when
/// the kernel does not say.
std::string processExecutablePath();

/// The folder of the main bundle for an executable: <X> when the executable
/// lies anywhere inside <X>/Contents/, else the executable's own folder.
std::string mainBundlePathForExecutable(const std::string& executable);

}  // namespace tq::detail
