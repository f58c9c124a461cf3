#pragma once

// ORVCLUSTER_API marks what orvcluster.dll exports; consumers see dllimport.
#if defined(ORVCLUSTER_BUILDING)
#define ORVCLUSTER_API __declspec(dllexport)
#else
#define ORVCLUSTER_API __declspec(dllimport)
#endif
