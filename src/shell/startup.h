// Process entry: role, services in their fixed order, then the line loop.
#pragma once

[[noreturn]] void start_up(int argc, char** argv);
