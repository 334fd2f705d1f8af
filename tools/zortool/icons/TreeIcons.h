// Resource ids of the folder tree's icons in zortool and the test programs:
// IDI_TREE_FIRST + n is the icon of image n (TIconIDs). The icons are drawn
// by make_icons.py.
#pragma once

#define IDI_TREE_FIRST 301
#define IDI_TREE_COUNT 25
