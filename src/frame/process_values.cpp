#include <atomic>

#include "vellox/frame.h"

std::int32_t Vellox::Threading::mainThreadId = 0;
bool testsRunning = false;
std::int32_t isDoingStressTest = 0;

namespace {
// Any thread may set it while another one asks. Nothing else depends on the value, so no order is needed.
std::atomic<float> uiScaleFactor = 1.0F;
} // namespace

void SetUIScaleFactor(float factor) {
    uiScaleFactor.store(factor, std::memory_order_relaxed);
}

float GetUIScaleFactor() {
    return uiScaleFactor.load(std::memory_order_relaxed);
}

std::string GetPlatform() {
    return "windows";
}

std::string GetPlatformType() {
    return "desktop";
}

void CheckExtractAssetFile(std::string /*asset*/, std::string /*destination*/) {}

void SendCrashlyticsNonFatal(const char* /*text*/, std::int32_t /*code*/) {}

void VelloxCrashlyticsLog(const char* /*text*/) {}
