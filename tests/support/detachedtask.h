// Work on a thread of its own that a test waits for with a time limit, so that a fault
// which blocks the work fails the test instead of hanging it. The thread is detached:
// a blocked one is left behind when the test ends.
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

inline std::future<void> StartDetached(std::function<void()> fnWork)
{
    std::packaged_task<void()> Task(std::move(fnWork));
    std::future<void> Done = Task.get_future();
    std::thread(std::move(Task)).detach();
    return Done;
}

inline bool FinishesInTime(std::future<void> & Done)
{
    return Done.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
}
