#pragma once

// The base description of effects, "VPbase".
enum { ID_VIDEOPOSTPROPERTIES = 1000994 };  // its group for the effect's own parameters
