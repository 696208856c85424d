// What surrounds a test: the registry, folders, other processes.
#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "basicslib/Handle.h"
#include "process/IProcess.h"
#include "process/Instance.h"

namespace tvn::tests
{

using Processes = std::vector<boost::shared_ptr<IProcess>>;
using Instances = std::vector<boost::shared_ptr<Instance>>;

/// Keys below HKEY_LOCAL_MACHINE; those of the 32-bit view have their whole path.
inline const std::string kSoftware32 = "SOFTWARE\\WOW6432Node\\";
inline const std::string kProductKey = kSoftware32 + "Talvern";
void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type = REG_SZ);

/// The default value of a key below any root, "(none)" without the key.
std::string RegistryValue(const std::string& key, HKEY root = HKEY_CLASSES_ROOT);

/// The tree, the folder of this program's build in it, and the one below that with the stand-ins.
std::string TreeFolder();
std::string BuildFolder();
inline const std::string kStandinFolder = BuildFolder() + "\\standins";

/// A file for as long as a test needs it. The folder of the build serves several Wine prefixes at
/// once, in which ids of processes and threads are the same; this one is the prefix's own.
std::string TempFile(const std::string& name);

/// Starts a program of the build folder, which is ended with the last pointer to it.
boost::shared_ptr<IProcess> Started(const std::string& program, const std::string& arguments = "");

/// Starts a command line that writes to `output`, which is one that processes can inherit; NULL for
/// none.
boost::shared_ptr<Handle> StartedInto(HANDLE output, std::string commandLine);

/// The code with which a process ends, for which it has `time` milliseconds.
DWORD ExitCodeOf(HANDLE process, DWORD time);

/// What a program prints, behind its exit code and a bar, with "\n" at the ends of lines. It gets
/// the command line as it is.
std::string Ran(const std::string& commandLine);

/// All that a file holds, and the same with "\n" at the ends of lines.
std::string Contents(const std::string& path);
std::string Printed(const std::string& path);

/// Starts one as an instance whose starter goes away while it calls back.
boost::shared_ptr<IProcess> StartedAndLeft(const std::string& program);

/// The list of the accounts that may open an open pipe, as a text in the system's own form for it,
/// with "own" in the place of a person's account: "D:P(A;;GA;;;own)(A;;GA;;;SY)".
std::string AccountsOf(HANDLE pipe);

/// The running processes of an executable, and the end of those of all browsers.
Processes Running(const char* exe);
void EndBrowsers();

/// The instances that are found by their windows, of programs of one name.
Instances InstancesOf(const wchar_t* program);

}  // namespace tvn::tests
