// Private to low/.
#pragma once
