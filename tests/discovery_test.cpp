// Instances found by their windows: real windows of real processes.

#include <gmock/gmock.h>
#include <psapi.h>

#include <thread>

#include "basicslib/StatusCode.h"
#include "process/AppWindowIterator.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;

/// A process that owns windows, under the executable name "iexplore.exe" or its own. A "=*" stands
/// for the title by which instances are found.
static boost::shared_ptr<IProcess> Owner(std::string windows,
                                         const std::string& program = "windows\\iexplore.exe")
{
    ReplaceAll(windows, "*", "\"Talvern Instance Window\"");
    const Handle ready(CreateEventA(nullptr, TRUE, FALSE, "window_owner_ready"));
    ResetEvent(ready.Get());
    auto owner = Started("tests\\" + program, windows + " ready=window_owner_ready");
    EXPECT_EQ(WaitForSingleObject(ready.Get(), 20000), static_cast<DWORD>(WAIT_OBJECT_0));
    return owner;
}

static const wchar_t* const kExplorer = L"iexplore.exe";

static std::string ClassOf(HWND window)
{
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    return name;
}

/// The classes of the windows found, in their order.
static std::string Classes(const Instances& instances = InstancesOf(kExplorer))
{
    std::string classes;
    for (const auto& instance : instances) {
        classes += " " + ClassOf(instance->hwnd);
    }
    return classes;
}

TEST(Discovery, AnInstanceIsAHiddenWindowOfTheRightTitleAndExecutable)
{
    EXPECT_EQ(Classes(), "");
    const auto owner = Owner(
        "hidden=* visible=* hidden=\"talvern INSTANCE window\" hidden=\"Talvern Instance Window 2\""
        " message=*");
    const auto other = Owner("hidden=*", "window_owner.exe");
    const Instances instances = InstancesOf(L"IExplore.EXE");
    ASSERT_EQ(Classes(instances), " W3 W1");
    EXPECT_EQ(instances[0]->pid, owner->GetPid());
    EXPECT_EQ(instances[1]->process->GetPid(), owner->GetPid());
    EXPECT_EQ(instances[0]->process->Terminate(0), sOk);
    EXPECT_EQ(instances[1]->process->WaitForExit(5000), sOk);
    EXPECT_EQ(Classes(), "");
}

TEST(Discovery, AChildOfAWindowThatDoesNotMatchIsFound)
{
    const auto owner =
        Owner("visible=other child=* showchild=* hidden=* child=* hidden=other showchild=*");
    EXPECT_EQ(Classes(), " W4 W2");
    CAppWindowIterator any(kExplorer, L"", true);
    EXPECT_EQ(ClassOf(any.First()), "W7") << "an empty title matches any";
    EXPECT_EQ(ClassOf(any.Next()), "W1");
    EXPECT_EQ(any.Next(), nullptr);
    CAppWindowIterator everybody(L"", L"Talvern Instance Window", false);
    EXPECT_EQ(ClassOf(everybody.First()), "W4");
}

TEST(Discovery, TheSearchDoesNotWaitForAThreadOfItsOwnProcess)
{
    const auto made = NewEvent();
    const std::jthread busy([&made] {
        CreateWindowA("STATIC", "busy", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
        SetEvent(made->Get());
        Sleep(1000);
    });
    WaitForSingleObject(made->Get(), 5000);
    EXPECT_THAT(Elapsed([] { InstancesOf(kExplorer); }), Within(0, 800));
}

TEST(Discovery, InstancesAreListedInTheirZOrder)
{
    const auto first = Owner("hidden=*");
    const auto second = Owner("hidden=* hidden=*");
    EXPECT_EQ(Classes(), " W2 W1 W1");
    HWND last = InstancesOf(kExplorer).at(2)->hwnd;
    EXPECT_TRUE(SetWindowPos(last, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE));
    EXPECT_EQ(Classes(), " W1 W2 W1");
    EXPECT_EQ(InstancesOf(kExplorer)[0]->hwnd, last);
}

TEST(Discovery, TheSearchEndsAfter1024WindowsAndAsManyDescendants)
{
    // The enumeration begins with windows that have just been destroyed.
    static int others;
    static int otherChildren;
    static const auto seeGone = [](int count, WNDENUMPROC see, LPARAM parameter) {
        for (; count > 0; --count) {
            see(reinterpret_cast<HWND>(4), parameter);
        }
    };
    const auto windows = TVN_REPLACE_IMPORT(EnumWindows, [](WNDENUMPROC see, LPARAM to) -> BOOL {
        seeGone(others, see, to);
        return TVN_REAL_IMPORT(EnumWindows)(see, to);
    });
    const auto children =
        TVN_REPLACE_IMPORT(EnumChildWindows, [](HWND parent, WNDENUMPROC see, LPARAM to) -> BOOL {
            seeGone(otherChildren, see, to);
            return TVN_REAL_IMPORT(EnumChildWindows)(parent, see, to);
        });
    auto owner = Owner("hidden=*");
    for (const auto& [count, found] : {std::pair(1023, " W1"), {1024, ""}}) {
        others = count;
        EXPECT_EQ(Classes(), found) << count;
    }
    others = 0;
    owner = Owner("hidden=other child=* child=*");
    for (const auto& [count, found] : {std::pair(1022, " W2 W3"), {1023, " W2"}}) {
        otherChildren = count;
        EXPECT_EQ(Classes(), found) << count;
    }
}

TEST(Discovery, AProcessThatCannotBeOpenedOrIsAnotherByThenIsLeftOut)
{
    const auto owner = Owner("hidden=*");
    const auto denied = Owner("hidden=* deny");
    InstancesOf(kExplorer);
    const LogCapture log;
    const NoHandleStaysOpen handles;
    EXPECT_EQ(InstancesOf(kExplorer).at(0)->pid, owner->GetPid());
    const std::string pid = std::to_string(denied->GetPid());
    EXPECT_THAT(log.Lines(kDebug), ElementsAre(kDebug + "Cann't open process, pid = " + pid));
    static int asked;
    const auto names = TVN_REPLACE_IMPORT(
        K32GetModuleFileNameExA, [](HANDLE process, HMODULE module, LPSTR path, DWORD size) {
            return ++asked <= 2
                       ? TVN_REAL_IMPORT(K32GetModuleFileNameExA)(process, module, path, size)
                       : static_cast<DWORD>(std::string_view("C:\\next.exe").copy(path, size));
        });
    EXPECT_EQ(Classes(), "") << "its id names another one by the time it is opened";
}

}  // namespace tvn::tests
