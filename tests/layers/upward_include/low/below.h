// Includes nothing of the tree.
#pragma once
