/* Empty: winddi.h includes it, nothing of it is used here. */
#pragma once
