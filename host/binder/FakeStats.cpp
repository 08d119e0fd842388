// A statistics service of the host's own that records what it receives.

#include <zenth_host/FakeStats.h>

#include <cstdio>

namespace zenth_host {

std::string FakeStats::instanceName() {
    return std::string(IStats::descriptor) + "/default";
}

ndk::ScopedAStatus FakeStats::reportVendorAtom(const VendorAtom& in_vendorAtom) {
    std::lock_guard<std::mutex> lock(mMutex);
    mAtoms.push_back(in_vendorAtom);
    mArrived.notify_all();
    if (mPrinting) {
        std::printf("%s\n", in_vendorAtom.toString().c_str());
        std::fflush(stdout);
    }
    if (mFailing) return ndk::ScopedAStatus::fromServiceSpecificError(kFailureError);
    return ndk::ScopedAStatus::ok();
}

void FakeStats::setFailing(bool failing) {
    std::lock_guard<std::mutex> lock(mMutex);
    mFailing = failing;
}

void FakeStats::setPrinting(bool printing) {
    std::lock_guard<std::mutex> lock(mMutex);
    mPrinting = printing;
}

std::vector<FakeStats::VendorAtom> FakeStats::atoms() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mAtoms;
}

bool FakeStats::waitForAtoms(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mArrived.wait_for(lock, timeout, [&] { return mAtoms.size() >= count; });
}

}  // namespace zenth_host
