#include "ChannelTest.h"
