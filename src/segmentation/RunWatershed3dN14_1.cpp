#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood3dDiffN14_1>(const quillon::StWatershedRun& run);
