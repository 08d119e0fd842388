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

#pragma once

// ReporterTest: a DeviceTest with a recording statistics service in a process of its own, for
// the health reporters. Each test starts with both reporters' declared flags as the program
// starts them and an empty service manager, and fails if a status object outlives it.

#include <android/binder_manager.h>
#include <android/log.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/FakeStats.h>
#include <zenth_host/binder_host.h>

#include "StatsDeclaredFlags.h"
#include "support/DeviceTest.h"

class ReporterTest : public DeviceTest {
  public:
    // How the statistics service looks to a reporter (tables of cases name these).
    enum class Service { NotDeclared, DeclaredNotRunning, Running };

  protected:
    using VendorAtom = ::aidl::android::frameworks::stats::VendorAtom;
    using VendorAtomValue = ::aidl::android::frameworks::stats::VendorAtomValue;

    void SetUp() override {
        DeviceTest::SetUp();
        fpgaDeclared_ = ::aidl::vendor::zenth::hardware::misc::gFpgaStatsDeclared;
        exgpioDeclared_ = ::aidl::vendor::zenth::hardware::misc::gExgpioStatsDeclared;
        stats_ = ndk::SharedRefBase::make<zenth_host::FakeStats>();
    }
    void TearDown() override {
        EXPECT_EQ(zenth_host::liveStatusCount(), 0u) << "a status object leaked";
        ::aidl::vendor::zenth::hardware::misc::gFpgaStatsDeclared = fpgaDeclared_;
        ::aidl::vendor::zenth::hardware::misc::gExgpioStatsDeclared = exgpioDeclared_;
        zenth_host::resetServiceManager();
        stats_.reset();
        DeviceTest::TearDown();
    }

    void setService(Service service) {
        const std::string instance = zenth_host::FakeStats::instanceName();
        if (service != Service::NotDeclared) zenth_host::declareInstance(instance);
        if (service == Service::Running) {
            zenth_host::OutsideProcess statsProcess("stats");
            ASSERT_EQ(AServiceManager_addService(stats_->asBinder().get(), instance.c_str()),
                      EX_NONE);
        }
    }
    std::vector<VendorAtom> atoms() const { return stats_->atoms(); }
    // The atoms received as "atomId 'text' int int ...", one string per atom; entries of
    // another kind than the reporters use show as "?".
    std::vector<std::string> describedAtoms() const {
        std::vector<std::string> described;
        for (const VendorAtom& atom : stats_->atoms()) {
            std::string text = std::to_string(atom.atomId);
            for (const VendorAtomValue& value : atom.values) text += " " + describe(value);
            described.push_back(text);
        }
        return described;
    }

    // Starts a reporter and waits until its thread has ended (the delay, the probe and the
    // whole pass are over, every descriptor closed and the service handle released) and the
    // statistics service has handled what it was sent.
    void runReporter(const std::function<void()>& start) {
        start();
        // The reporter's thread counts as the daemon's work until it has ended.
        ASSERT_TRUE(emulated::waitUntilIdle(kWait)) << "the reporter did not end";
        // The statistics service handles an atom after the reporter has gone on.
        zenth_host::waitForOnewayCalls();
    }

    // Log lines of the reporters (logged without a tag) in order, each as "E message" or
    // "D message" for the error and the debug priority.
    std::vector<std::string> reporterMessages() const {
        std::vector<std::string> messages;
        for (const LogLine& line : lines()) {
            if (line.tag != defaultTag()) continue;
            const char* priority = line.priority == ANDROID_LOG_ERROR   ? "E "
                                   : line.priority == ANDROID_LOG_DEBUG ? "D "
                                                                        : "? ";
            messages.push_back(priority + line.message);
        }
        return messages;
    }

  private:
    static std::string describe(const VendorAtomValue& value) {
        switch (value.getTag()) {
            case VendorAtomValue::Tag::stringValue:
                return "'" + value.get<VendorAtomValue::Tag::stringValue>() + "'";
            case VendorAtomValue::Tag::intValue:
                return std::to_string(value.get<VendorAtomValue::Tag::intValue>());
            default:
                return "?";
        }
    }

    std::shared_ptr<zenth_host::FakeStats> stats_;
    bool fpgaDeclared_ = false;
    bool exgpioDeclared_ = false;
};
