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

#include "support/ReporterTest.h"

#include <android/binder_manager.h>
#include <android/log.h>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/binder_host.h>

#include "StatsClient.h"
#include "StatsDeclaredFlags.h"

using ::aidl::android::frameworks::stats::VendorAtomValue;
namespace misc = ::aidl::vendor::zenth::hardware::misc;

namespace {

std::string describe(const VendorAtomValue& value) {
    switch (value.getTag()) {
        case VendorAtomValue::Tag::stringValue:
            return "'" + value.get<VendorAtomValue::Tag::stringValue>() + "'";
        case VendorAtomValue::Tag::intValue:
            return std::to_string(value.get<VendorAtomValue::Tag::intValue>());
        default:
            return "?";
    }
}

}  // namespace

void ReporterTest::SetUp() {
    DeviceTest::SetUp();
    fpgaDeclared_ = misc::gFpgaStatsDeclared;
    exgpioDeclared_ = misc::gExgpioStatsDeclared;
    stats_ = ndk::SharedRefBase::make<zenth_host::FakeStats>();
}

void ReporterTest::TearDown() {
    EXPECT_EQ(zenth_host::liveStatusCount(), 0u) << "a status object leaked";
    misc::gFpgaStatsDeclared = fpgaDeclared_;
    misc::gExgpioStatsDeclared = exgpioDeclared_;
    zenth_host::resetServiceManager();
    stats_.reset();
    DeviceTest::TearDown();
}

void ReporterTest::setService(Service service) {
    const std::string instance = zenth_host::FakeStats::instanceName();
    if (service != Service::NotDeclared) zenth_host::declareInstance(instance);
    if (service == Service::Running) {
        zenth_host::OutsideProcess statsProcess("stats");
        ASSERT_EQ(AServiceManager_addService(stats_->asBinder().get(), instance.c_str()), EX_NONE);
    }
}

std::vector<std::string> ReporterTest::describedAtoms() const {
    std::vector<std::string> described;
    for (const VendorAtom& atom : stats_->atoms()) {
        std::string text = std::to_string(atom.atomId);
        for (const VendorAtomValue& value : atom.values) text += " " + describe(value);
        described.push_back(text);
    }
    return described;
}

void ReporterTest::runReporter(const std::function<void()>& start) {
    start();
    // The reporter's thread counts as the daemon's work until it has ended.
    ASSERT_TRUE(emulated::waitUntilIdle(kWait)) << "the reporter did not end";
    // The statistics service handles an atom after the reporter has gone on.
    zenth_host::waitForOnewayCalls();
}

std::vector<std::string> ReporterTest::reporterMessages() const {
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
