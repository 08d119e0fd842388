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

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zenth_host/FakeStats.h>

#include "support/DeviceTest.h"

class ReporterTest : public DeviceTest {
  public:
    // How the statistics service looks to a reporter (tables of cases name these).
    enum class Service { NotDeclared, DeclaredNotRunning, Running };

  protected:
    using VendorAtom = ::aidl::android::frameworks::stats::VendorAtom;

    void SetUp() override;
    void TearDown() override;

    void setService(Service service);
    std::vector<VendorAtom> atoms() const { return stats_->atoms(); }
    // The atoms received as "atomId 'text' int int ...", one string per atom; entries of
    // another kind than the reporters use show as "?".
    std::vector<std::string> describedAtoms() const;

    // Starts a reporter and waits until its thread has ended (the delay, the probe and the
    // whole pass are over, every descriptor closed and the service handle released) and the
    // statistics service has handled what it was sent.
    void runReporter(const std::function<void()>& start);

    // Log lines of the reporters (logged without a tag) in order, each as "E message" or
    // "D message" for the error and the debug priority.
    std::vector<std::string> reporterMessages() const;

  private:
    std::shared_ptr<zenth_host::FakeStats> stats_;
    bool fpgaDeclared_ = false;
    bool exgpioDeclared_ = false;
};
