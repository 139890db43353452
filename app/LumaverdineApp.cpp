#include "app/LumaverdineApp.h"
