/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

// The binder thread pool: joining, releasing and serving work on the joined thread.

#include <android/binder_process.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <thread>

#include <zenth_host/binder_host.h>

namespace {

using namespace std::chrono_literals;

class PlatformThreadPoolTest : public ::testing::Test {
  protected:
    // Joins the pool on a thread of its own; the future is ready once the join returned.
    std::future<std::thread::id> joinInBackground() {
        return std::async(std::launch::async, [] {
            ABinderProcess_joinThreadPool();
            return std::this_thread::get_id();
        });
    }
    void TearDown() override { zenth_host::resetThreadPool(); }
};

TEST_F(PlatformThreadPoolTest, RecordsTheMaximumThreadCount) {
    EXPECT_EQ(zenth_host::threadPoolMaxThreadCount(), 15u);
    EXPECT_TRUE(ABinderProcess_setThreadPoolMaxThreadCount(0));
    EXPECT_EQ(zenth_host::threadPoolMaxThreadCount(), 0u);
}

TEST_F(PlatformThreadPoolTest, JobsRunOnTheJoinedThreadUntilReleased) {
    auto joined = joinInBackground();
    ASSERT_TRUE(zenth_host::waitForThreadPoolJoined(5s));

    std::thread::id servedOn;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(zenth_host::runOnThreadPool([&] { servedOn = std::this_thread::get_id(); }, 5s));
    }
    EXPECT_EQ(joined.wait_for(0s), std::future_status::timeout);

    // Work posted from the serving thread itself runs at once instead of waiting for itself.
    bool nested = false;
    EXPECT_TRUE(zenth_host::runOnThreadPool(
            [&] { nested = zenth_host::runOnThreadPool([] {}, 0ms); }, 5s));
    EXPECT_TRUE(nested);

    zenth_host::releaseThreadPool();
    ASSERT_EQ(joined.wait_for(5s), std::future_status::ready);
    EXPECT_EQ(joined.get(), servedOn);
}

TEST_F(PlatformThreadPoolTest, ReleaseBeforeTheJoinIsKeptForIt) {
    zenth_host::releaseThreadPool();
    auto joined = joinInBackground();
    EXPECT_EQ(joined.wait_for(5s), std::future_status::ready);
}

TEST_F(PlatformThreadPoolTest, ReleaseSignalEndsTheJoin) {
    auto joined = joinInBackground();
    ASSERT_TRUE(zenth_host::waitForThreadPoolJoined(5s));
    ASSERT_EQ(kill(getpid(), SIGUSR1), 0);
    EXPECT_EQ(joined.wait_for(5s), std::future_status::ready);
}

TEST_F(PlatformThreadPoolTest, JobNobodyServesIsDroppedAfterTheTimeout) {
    std::atomic<bool> ran{false};
    EXPECT_FALSE(zenth_host::runOnThreadPool([&] { ran = true; }, 20ms));

    // A later join must not find the dropped job ahead of the next one.
    auto joined = joinInBackground();
    ASSERT_TRUE(zenth_host::waitForThreadPoolJoined(5s));
    EXPECT_TRUE(zenth_host::runOnThreadPool([] {}, 5s));
    EXPECT_FALSE(ran);
    zenth_host::releaseThreadPool();
    joined.wait();
}

}  // namespace
