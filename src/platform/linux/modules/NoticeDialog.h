#pragma once

#include "platform/linux/WindowModule.h"

/// The module's `showNotice`.
int showNotice(const KestravNoticeDialog *content) noexcept;
