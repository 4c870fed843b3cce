#pragma once
// The library's public interface in one include.
#include "tools.h"
#include "freeFunctions.h"
#include "MsgBase.h"
#include "Point2.h"
#include "Vector2.h"
#include "Triangle2.h"
#include "GeomTest.h"
