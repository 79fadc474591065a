#pragma once

// Each section of the demo shows one part of the library on stdout.
void ShowNodes();
void ShowTrees();
void ShowPointCloud();
void ShowGeometry();
void ShowOverlays();
void ShowCameraFiles();
void ShowSharedObjects();
void ShowRegions();
void ShowScan();
