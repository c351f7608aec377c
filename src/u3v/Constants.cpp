#include "u3v/Constants.h"
