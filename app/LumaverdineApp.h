#pragma once

#include "player/PayerManager.h"

class LumaverdineApp {
public:
    LumaverdineApp() = default;
};
