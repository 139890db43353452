#include "player/ObservableObject.h"
