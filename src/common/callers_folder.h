// The folder that the program was called in. It works in "/" (common/startup.h), but the names of files that its caller gives
// mean what they mean to him.
#pragma once

#include <string>

namespace dravik {

// Notes the working folder of this process as the caller's; once, before it is left.
void rememberCallersFolder();

// The name from "/" on of a file that the caller has given: `name` itself where it begins with "/", else that below his
// folder. Empty where `name` is, or where his folder has been removed or is out of reach.
std::string inCallersFolder(const std::string &name);

} // namespace dravik
