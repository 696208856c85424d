// Many objects on as many threads at once, one object that another apartment calls, and processes
// that end with an object in use.

#include <thread>

#include "basicslib/StatusCode.h"
#include "pipeutils/WaitPumping.h"
#include "tests/app_client.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/resources.h"
#include "tests/stress/cases.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

constexpr LONG kSeconds = 20;
constexpr std::size_t kThreads = 8;

TEST(Threads, EachHasAnObjectOfItsOwnAndAllWorkAtOnce)
{
    OtherSide otherSide(OtherSide::Pipes::kBoth, 4 * kThreads);
    const auto run = [](std::uint64_t rounds) {
        std::vector<std::jthread> threads;
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([rounds] {
                AppClient app;
                for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
                    EXPECT_EQ(app.Init("-runner", round % 2 == 0, kSeconds), sOk);
                    EXPECT_EQ(app.Set("city", "New York"), sOk);
                    EXPECT_EQ(app.Played("macro"), "1||played[EXTRACT]well|played|well");
                    EXPECT_EQ(app.Exit(kSeconds), sOk);
                }
            });
        }
    };
    run(2);
    const NoHandleStaysOpen handles;
    run(20 * Scale());
}

TEST(Threads, AnotherApartmentCallsAnObjectByTheNamesOfItsMethods)
{
    using Microsoft::WRL::ComPtr;
    OtherSide otherSide;
    const talvern::Apartment apartment;
    const talvern::Client app;  // of the DLL, with the type library
    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IDispatch, app.Get(), &stream), S_OK);
    const auto ended = NewEvent();
    std::jthread other([&] {
        const talvern::Apartment own;
        {
            ComPtr<IDispatch> object;
            EXPECT_EQ(CoGetInterfaceAndReleaseStream(
                          stream, IID_IDispatch, reinterpret_cast<void**>(object.GetAddressOf())),
                      S_OK);
            const auto call = [&](std::wstring method, std::vector<_variant_t> reversed = {}) {
                wchar_t* name = method.data();
                DISPID id = 0;
                EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
                DISPPARAMS parameters = {reversed.data(), nullptr,
                                         static_cast<UINT>(reversed.size()), 0};
                _variant_t result;
                EXPECT_EQ(object->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &parameters, &result,
                                         nullptr, nullptr),
                          S_OK);
                return result;
            };
            ForEachCase(20 * Scale(), [&](std::uint64_t, auto&) {
                EXPECT_EQ(call(L"tvnInit", {false, L"-runner"}), _variant_t(1L));
                EXPECT_EQ(call(L"tvnSet", {L"New York", L"city"}), _variant_t(1L));
                EXPECT_EQ(call(L"tvnPlay", {L"macro"}), _variant_t(1L));
                EXPECT_EQ(call(L"tvnGetLastExtract"), _variant_t(L"played[EXTRACT]well"));
                EXPECT_EQ(call(L"tvnGetLastError"), _variant_t(L""));
                EXPECT_EQ(call(L"tvnDisplay", {L"text"}), _variant_t(1L));
                EXPECT_EQ(call(L"tvnExit"), _variant_t(1L));
            });
        }
        SetEvent(ended->Get());
    });
    EXPECT_EQ(WaitPumping(ended->Get(), 60'000), WAIT_OBJECT_0 + 0U);
}

/// Children of the test below: this program, started for one of them alone. The delivered DLL is in
/// use when they end.
class DISABLED_Ending : public testing::Test
{
  protected:
    static constexpr UINT kEnded = 7;

    const talvern::Apartment apartment;
    talvern::Client& app = *new talvern::Client;  // of the DLL, and never let go
    const int begun = app.Init(_variant_t("-runner"), false, 10);
};

TEST_F(DISABLED_Ending, WithAnObject)
{
    std::exit(app.Play(L"macro", 10) == sOk ? kEnded : 1);
}

TEST_F(DISABLED_Ending, DuringAPlay)
{
    std::thread([this] { app.Play(L"macro", 60); }).detach();
    Sleep(200);
    ExitProcess(begun == sOk ? kEnded : 1);
}

TEST(Ends, OfProcessesComeAtOnceWithAnObjectInUse)
{
    OtherSide otherSide;
    for (const char* child : {"WithAnObject", "DuringAPlay"}) {
        for (std::uint64_t round = 0; round < 2 * Scale(); ++round) {
            otherSide.Oblige();
            if (*child == 'D') {
                otherSide.Next(Stage::kPlay, &Hold);
            }
            const auto process = StartedInto(
                nullptr, BuildFolder() +
                             "\\tests\\talvern_tests.exe --gtest_also_run_disabled_tests "
                             "--gtest_filter=DISABLED_Ending." +
                             child);
            EXPECT_EQ(ExitCodeOf(process->Get(), 10'000), 7U) << child;
        }
    }
}

}  // namespace tvn::tests
