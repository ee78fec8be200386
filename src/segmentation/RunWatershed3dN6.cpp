#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood3dDiffN6>(const quillon::StWatershedRun& run);
