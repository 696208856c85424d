// Instances found by their windows: real windows of real processes.

#include <gmock/gmock.h>

#include <memory>

#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "process/AppWindowIterator.h"
#include "process/InstancesMgr.h"
#include "process/WindowIterator.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"

using testing::ElementsAre;
using testing::IsEmpty;
using tvn::Instance;

namespace
{

const std::string kTitle = "\"Talvern Instance Window\"";

/// A process that owns windows, under the executable name "iexplore.exe" or its own.
std::unique_ptr<tests::ChildProcess> Owner(const std::string& windows,
                                           const std::string& program = "windows\\iexplore.exe")
{
    const tvn::Handle ready(CreateEventA(nullptr, TRUE, FALSE, "window_owner_ready"));
    ResetEvent(ready.Get());
    auto owner = std::make_unique<tests::ChildProcess>(
        tests::BuildFolder() + "\\tests\\" + program + " " + windows + " ready=window_owner_ready");
    EXPECT_EQ(WaitForSingleObject(ready.Get(), 20000), static_cast<DWORD>(WAIT_OBJECT_0));
    return owner;
}

std::string ClassOf(HWND window)
{
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    return name;
}

/// Searches, and gives the classes of the windows found.
std::vector<std::string> Found(std::vector<boost::shared_ptr<Instance>>& instances,
                               const wchar_t* name = L"iexplore.exe")
{
    EXPECT_EQ(tvn::InstancesMgr().GetInstancesByName(instances, name, 0), tvn::sOk);
    std::vector<std::string> classes;
    for (const auto& instance : instances) {
        classes.push_back(ClassOf(instance->hwnd));
    }
    return classes;
}

std::vector<std::string> Found()
{
    std::vector<boost::shared_ptr<Instance>> instances;
    return Found(instances);
}

}  // namespace

TEST(Discovery, TakesHiddenWindowsOfTheRightTitleAndExecutable)
{
    EXPECT_THAT(Found(), IsEmpty());
    const auto owner =
        Owner("hidden=" + kTitle + " visible=" + kTitle +
              " hidden=\"talvern INSTANCE window\" hidden=\"Talvern Instance Window 2\""
              " message=" +
              kTitle);
    const auto other = Owner("hidden=" + kTitle, "window_owner.exe");
    std::vector<boost::shared_ptr<Instance>> instances(3);
    EXPECT_THAT(Found(instances, L"IExplore.EXE"), ElementsAre("W3", "W1"));
    for (const auto& instance : instances) {
        EXPECT_EQ(instance->pid, owner->Pid());
        EXPECT_EQ(instance->process->GetPid(), owner->Pid());
    }
    EXPECT_EQ(instances[0]->process->Terminate(0), tvn::sOk);
    EXPECT_EQ(instances[1]->process->WaitForExit(5000), tvn::sOk);
    EXPECT_THAT(Found(instances), IsEmpty()) << "what was in the list before is gone";
}

TEST(Discovery, LooksIntoWindowsThatDoNotMatchThemselves)
{
    const auto owner = Owner("visible=other child=" + kTitle + " showchild=" + kTitle +
                             " hidden=" + kTitle + " child=" + kTitle);
    EXPECT_THAT(Found(), ElementsAre("W4", "W2"));
    tvn::CAppWindowIterator any(L"iexplore.exe", L"", true);
    EXPECT_EQ(ClassOf(any.First()), "W1") << "an empty title matches any";
    EXPECT_EQ(any.Next(), nullptr);
    EXPECT_EQ(any.Next(), nullptr);
    tvn::CAppWindowIterator everybody(L"", L"Talvern Instance Window", false);
    EXPECT_EQ(ClassOf(everybody.First()), "W4");
}

TEST(Discovery, FollowsTheZOrder)
{
    const auto first = Owner("hidden=" + kTitle);
    const auto second = Owner("hidden=" + kTitle + " hidden=" + kTitle);
    std::vector<boost::shared_ptr<Instance>> instances;
    Found(instances);
    ASSERT_EQ(instances.size(), 3U);
    HWND last = instances[2]->hwnd;
    EXPECT_TRUE(SetWindowPos(last, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE));
    std::vector<boost::shared_ptr<Instance>> reordered;
    Found(reordered);
    EXPECT_EQ(reordered[0]->hwnd, last);
    EXPECT_EQ(reordered[1]->hwnd, instances[0]->hwnd);
    EXPECT_EQ(reordered[2]->hwnd, instances[1]->hwnd);
}

TEST(Discovery, LooksAt1024WindowsAndAsManyDescendants)
{
    const auto hidden = Owner("hidden=" + kTitle);
    const auto crowd = Owner("crowd=1100");
    EXPECT_THAT(Found(), IsEmpty()) << "the crowd lies above the instance";
    const auto above = Owner("hidden=" + kTitle);
    EXPECT_THAT(Found(), ElementsAre("W1"));
    tvn::CWindowIterator some(3);
    EXPECT_NE(some.First(), nullptr);
    EXPECT_NE(some.Next(), nullptr);
    EXPECT_NE(some.Next(), nullptr);
    EXPECT_EQ(some.Next(), nullptr);
}

TEST(Discovery, LooksAt1024Descendants)
{
    // Descendants are listed from the top: the last child made is the first.
    const auto owner = Owner("hidden=other child=" + kTitle + " childcrowd=1000 child=" + kTitle);
    const std::size_t both = Found().size();
    const auto larger = Owner("hidden=other child=" + kTitle + " childcrowd=1100 child=" + kTitle);
    EXPECT_EQ(both, 2U);
    EXPECT_EQ(Found().size(), both + 1);
}

TEST(Discovery, LeavesOutProcessesThatCannotBeOpenedAndClosesWhatItOpened)
{
    const auto owner = Owner("hidden=" + kTitle);
    const auto denied = Owner("hidden=" + kTitle + " deny");
    Found();
    const int before = tests::CountHandles();
    {
        const tests::LogCapture log;
        std::vector<boost::shared_ptr<Instance>> instances;
        EXPECT_THAT(Found(instances), ElementsAre("W1"));
        EXPECT_EQ(instances[0]->pid, owner->Pid());
        EXPECT_TRUE(
            log.Has("[tvn::debug] Cann't open process, pid = " + std::to_string(denied->Pid())));
    }
    EXPECT_EQ(tests::CountHandles(), before);
}
