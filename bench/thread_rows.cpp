// How plays add up when objects play on threads of their own.

#include <objbase.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "bench/BareClient.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "examples/cpp/TalvernClient.h"

namespace bench
{
namespace
{

constexpr std::size_t kMost = 8;

/// Threads that each make a player of their own and play when they are told.
class Players
{
  public:
    using Play = std::function<void()>;

    /// `make` is called on each thread.
    explicit Players(const std::function<Play(std::size_t)>& make)
    {
        for (std::size_t index = 0; index < kMost; ++index) {
            m_threads.emplace_back([this, index, make] {
                CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
                try {
                    Run(index, make(index));
                } catch (const std::exception&) {
                    m_failed = true;
                    ++m_ready;
                }
                CoUninitialize();
            });
            // One after the other, so that each attaches to an instance of its own.
            while (m_ready <= index) {
                Sleep(1);
            }
        }
    }

    ~Players()
    {
        m_ended = true;
        m_playing = kMost;  // a thread wakes only when the number has changed
        m_playing.notify_all();
    }

    Players(const Players&) = delete;
    Players& operator=(const Players&) = delete;

    /// Plays per second of so many of them together.
    double PerSecond(std::size_t count, double seconds)
    {
        const std::size_t before = m_plays;
        const double spent = Seconds([&] {
            m_playing = count;
            m_playing.notify_all();
            Sleep(static_cast<DWORD>(seconds * 1000));
        });
        const std::size_t plays = m_plays - before;
        m_playing = 0;
        Sleep(20);
        Require(!m_failed, "a play on a thread of its own fails");
        return static_cast<double>(plays) / spent;
    }

  private:
    void Run(std::size_t index, const Play& play)
    {
        ++m_ready;
        while (!m_ended) {
            const std::size_t playing = m_playing;
            if (index < playing) {
                play();
                ++m_plays;
            } else {
                m_playing.wait(playing);
            }
        }
    }

    std::atomic<std::size_t> m_playing{0};
    std::atomic<std::size_t> m_ready{0};
    std::atomic<std::size_t> m_plays{0};
    std::atomic<bool> m_ended{false};
    std::atomic<bool> m_failed{false};
    std::deque<std::jthread> m_threads;
};

}  // namespace

Comparisons MeasureThreads(const Settings& settings)
{
    constexpr std::size_t kCounts[] = {1, 2, 4, 8};
    constexpr double kSlice = 0.2;
    std::deque<PeerProcess> peers;
    while (peers.size() < kMost) {
        peers.emplace_back();
    }
    Players objects([](std::size_t) {
        const auto object = std::make_shared<talvern::Client>();
        RequireOk(object->Init(talvern::Argument(), false));
        return [object] {
            RequireOk(object->Play(L""));
        };
    });
    Players pipes([&peers](std::size_t index) {
        const auto bare = std::make_shared<BareClient>(peers[index].PipeName(), L"");
        return [bare] {
            bare->Transfer();
        };
    });
    std::map<std::size_t, Pairs> pairs;
    const auto rounds = static_cast<std::size_t>(settings.seconds / kSlice / 2) + 3;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (const std::size_t count : kCounts) {
            for (const bool ours : {round % 2 == 0, round % 2 != 0}) {
                auto& results = ours ? pairs[count].ours : pairs[count].baseline;
                results.push_back((ours ? objects : pipes).PerSecond(count, kSlice));
            }
        }
    }
    Comparisons lines;
    for (const std::size_t count : kCounts) {
        const std::string name = std::to_string(count) + (count == 1 ? " object" : " objects");
        lines.push_back(
            Compare(name, "as many bare pipes", "plays/s", pairs[count], Goal::kNone, 0));
        if (count > 1) {
            lines.push_back(Compare(name, "one object", "plays/s",
                                    {pairs[count].ours, pairs[1].ours}, Goal::kNone, 0));
        }
    }
    return lines;
}

}  // namespace bench
