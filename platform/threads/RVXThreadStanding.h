#pragma once

// How a thread stands when there are more of them than cores. One that yields leaves the core to threads that
// compute; it suits threads that mostly wait for files. (Linux gives each thread a nice value of its own.)
enum class RVXThreadStanding { normal, yielding };
