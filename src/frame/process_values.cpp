#include "vellox/frame.h"

std::int32_t Vellox::Threading::mainThreadId = 0;
bool testsRunning = false;
std::int32_t isDoingStressTest = 0;

namespace {
float uiScaleFactor = 1.0F;
} // namespace

void SetUIScaleFactor(float factor) {
    uiScaleFactor = factor;
}

float GetUIScaleFactor() {
    return uiScaleFactor;
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
