// On each method's route, every call of the platform and every block of memory fails. The method
// then ends with a status and its reason, leaves nothing behind, and its object still exits, starts
// and plays.

#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/other_side.h"
#include "tests/stress/cases.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

/// What fails, and how.
struct Fault
{
    const char* name;
    std::string_view what;
    Fails how;

    friend void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }
};

namespace
{

using Call = std::function<HRESULT(IApp& app, Status* status)>;

/// One route through a method. What starts processes takes its time and is left to longer runs.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the rows below read in this order
struct Route
{
    const char* name;
    std::vector<Call> before;
    Call call;
    bool startsProcesses = false;
    bool isGetter = false;  ///< which has no text to tell what it misses
};

// What a call needs is made before it is watched.
const _variant_t kLeftOut = AppClient::LeftOut();
const _variant_t kFirst = 1L;
const _bstr_t kText = L"New York";

Call Init(const char* line, bool openNew, LONG time = 1)
{
    return [line = _variant_t(line), openNew, time](IApp& app, Status* status) {
        return app.tvnInit(line, openNew ? VARIANT_TRUE : VARIANT_FALSE, kLeftOut, kLeftOut,
                           kLeftOut, time, status);
    };
}

Call Play(std::size_t length)
{
    return [macro = _bstr_t(std::wstring(length, L'x').c_str())](IApp& app, Status* status) {
        return app.tvnPlay(macro, 1, status);
    };
}

HRESULT Exit(IApp& app, Status* status)
{
    return app.tvnExit(1, status);
}

HRESULT Set(IApp& app, Status* status)
{
    return app.tvnSet(kText, kText, status);
}

/// A getter's value takes the place of a status.
Call Get(const std::function<HRESULT(IApp& app, BSTR* value)>& getter)
{
    return [getter](IApp& app, Status* status) {
        BSTR value = nullptr;
        const HRESULT result = getter(app, &value);
        *status = static_cast<Status>(value == nullptr ? sFail : sOk);
        SysFreeString(value);
        return result;
    };
}

const Call kBegin = Init("-runner", false);
const Call kBeginOwn = Init("", true, 5);
const Call kBeginFirefox = Init("-fx", true, 5);
const std::vector<Call> kAttached = {kBegin, Play(5), &Set};

const Route kRoutes[] = {
    {"tvnPlay", kAttached, Play(5)},
    {"tvnPlay, long", kAttached, Play(100'000)},
    {"tvnDisplay", kAttached,
     [](IApp& app, Status* status) {
         return app.tvnDisplay(kText, 1, status);
     }},
    {"tvnSet", {}, &Set},
    {"tvnGetLastError", kAttached, Get(std::mem_fn(&IApp::tvnGetLastError)), false, true},
    {"tvnGetLastExtract", kAttached,
     Get([](IApp& app, BSTR* value) { return app.tvnGetLastExtract(kFirst, value); }), false, true},
    {"tvnInit, runner", {}, Init("-runner", true)},
    {"tvnInit, free browser of the runner", {}, kBegin},
    {"tvnExit, runner", kAttached, &Exit},
    {"tvnInit, own browser", {}, kBeginOwn, true},
    {"tvnInit, Firefox", {}, kBeginFirefox, true},
    {"tvnInit, Internet Explorer", {}, Init("-ie", true, 5), true},
    {"tvnExit, own browser", {kBeginOwn}, &Exit, true},
    {"tvnExit, Firefox", {kBeginFirefox}, &Exit, true},
};

/// The course of one failure, from the object's making to its end.
struct Course
{
    HRESULT result = E_FAIL;
    int status = 0;
    bool hasText = false;
    int after[3] = {};  ///< an init, a play and an exit
    const char* failed = nullptr;
    unsigned int calls = 0;
    int handles = 0;
    int blocks = 0;
};

Status* At(int& status)
{
    return reinterpret_cast<Status*>(&status);
}

constexpr Fault kFaults[] = {
    {"Once", kAnything, Fails::kOnce},
    {"ThoughDone", kAnything, Fails::kThoughDone},
    {"FromHereOn", kAnything, Fails::kFromHereOn},
    {"MemoryFromHereOn", kMemory, Fails::kFromHereOn},
};

Course CourseOf(const Route& route, unsigned int call, const Fault& fault)
{
    Course course;
    ImportWatch watch;
    IApp* const app = NewApp();
    for (const Call& step : route.before) {
        step(*app, At(course.status));
    }
    const unsigned int before = watch.CallsThatCanFail(fault.how);
    watch.Fail(fault.what, ERROR_NOT_ENOUGH_MEMORY, call, fault.how);
    course.result = route.call(*app, At(course.status));
    course.failed = watch.Failed();
    watch.Fail("", 0, 0);
    course.calls = watch.CallsThatCanFail(fault.how) - before;
    BSTR text = nullptr;
    app->tvnGetLastError(&text);
    course.hasText = SysStringLen(text) != 0;
    SysFreeString(text);
    Exit(*app, At(course.after[0]));
    kBegin(*app, At(course.after[0]));
    kAttached[1](*app, At(course.after[1]));
    Exit(*app, At(course.after[2]));
    app->Release();
    course.handles = watch.IsOpen().handles;
    course.blocks = watch.IsOpen().blocks;
    return course;
}

}  // namespace

using FailingCalls = testing::TestWithParam<Fault>;

TEST_P(FailingCalls, EndAMethodWithItsStatusAndLeaveItsObjectOfUse)
{
    const testing::Matcher<std::string> isMemory =
        testing::AnyOf("new", testing::StartsWith("SysAlloc"));
    OtherSide otherSide;
    std::map<std::string, int> tally;
    ForEachCase(std::size(kRoutes), [&](std::uint64_t number, auto&) {
        const Route& route = kRoutes[number];
        if (route.startsProcesses && Scale() == 1) {
            return;
        }
        CourseOf(route, 0, GetParam());  // makes what is kept
        const Course usual = CourseOf(route, 0, GetParam());
        // Of the longest ways, a third is enough for every day, but memory fails at once.
        const bool isLong = usual.calls > 50 && GetParam().what != kMemory;
        const unsigned int step = Scale() == 1 && isLong ? 3 : 1;
        for (unsigned int call = 0; call <= usual.calls; call += step) {
            const Course course = CourseOf(route, call, GetParam());
            if (route.startsProcesses) {
                EndBrowsers();
            }
            SCOPED_TRACE(std::string(route.name) + ", call " + std::to_string(call) + ", " +
                         (course.failed == nullptr ? "none" : course.failed));
            EXPECT_EQ(course.result, S_OK);
            EXPECT_THAT(course.after, testing::Each(sOk));
            EXPECT_EQ(course.handles, usual.handles);
            EXPECT_EQ(course.blocks, usual.blocks);
            EXPECT_TRUE(course.failed == nullptr ? course.status == sOk
                                                 : course.status == sOk || course.status < 0)
                << course.status;
            const bool isShort =
                course.failed != nullptr && testing::Matches(isMemory)(course.failed);
            EXPECT_TRUE(!isShort || GetParam().how != Fails::kOnce || course.status == sOk ||
                        course.hasText || route.isGetter);
            EXPECT_TRUE(!isShort || GetParam().how != Fails::kFromHereOn || course.status != sOk);
            if (course.failed != nullptr) {  // a wait may be needed only now and then
                ++tally["failures"];
                ++tally[course.status == sOk ? "succeeded"
                        : course.hasText     ? "with_text"
                                             : "status_" + std::to_string(-course.status)];
            } else if (call > 0 && GetParam().what == kMemory) {
                break;  // every block has failed
            }
        }
    });
    for (const auto& [what, count] : tally) {
        RecordProperty(what, count);
    }
}

INSTANTIATE_TEST_SUITE_P(, FailingCalls, testing::ValuesIn(kFaults),
                         [](const auto& fault) { return fault.param.name; });

}  // namespace tvn::tests
