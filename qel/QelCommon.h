#pragma once

// Umbrella header: every public header of the library, and nothing from the detail/ folders.

// platform
#include "qel/platform/QelAutomationVariant.h"
#include "qel/platform/QelBitmap.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelHandles.h"
#include "qel/platform/QelLogicalFont.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/platform/QelRandom.h"
#include "qel/platform/QelResources.h"
#include "qel/platform/QelString.h"
#include "qel/platform/QelTimer.h"
#include "qel/platform/QelTypes.h"

// framework
#include "qel/framework/QelBase.h"
#include "qel/framework/QelNode.h"
#include "qel/framework/QelObjectMessage.h"
#include "qel/framework/QelPlugin.h"
#include "qel/framework/QelPluginAttributes.h"
#include "qel/framework/QelSandboxIcon.h"
#include "qel/framework/QelSysApp.h"

// math
#include "qel/math/QelBox2.h"
#include "qel/math/QelBox3.h"
#include "qel/math/QelIVec2.h"
#include "qel/math/QelLine.h"
#include "qel/math/QelMathConstants.h"
#include "qel/math/QelMatrix3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelPlane.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelSphere.h"
#include "qel/math/QelTriangle.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/math/QelVec5.h"
#include "qel/math/QelVecColor.h"

// properties
#include "qel/properties/QelDataType.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelPropertyHistory.h"
#include "qel/properties/QelVariant.h"

// xml
#include "qel/xml/QelMasterXMLInterface.h"
#include "qel/xml/QelXMLInterface.h"

// expression
#include "qel/expression/MTParser/MTException.h"
#include "qel/expression/MTParser/MTExceptions.h"
#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserCompiler.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/MTParser/MTVariableFactoryI.h"
#include "qel/expression/MTParser/MTVariableI.h"
#include "qel/expression/MTParser/MemVariableEvaluator.h"
#include "qel/expression/MTParser/MemVariableFactory.h"
#include "qel/expression/QelExpression.h"

// display
#include "qel/display/QelCamera.h"
#include "qel/display/QelClipPlane.h"
#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelFocalPoint.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelKeyState.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelManipulator.h"
#include "qel/display/QelMouseState.h"
#include "qel/display/QelPickMesh.h"
#include "qel/display/QelPicker.h"
#include "qel/display/QelPopupMenu.h"
#include "qel/display/QelSwitchableObject.h"
#include "qel/display/QelTransform.h"

// buffers
#include "qel/buffers/QelGeometryBuffer.h"
#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/buffers/QelInterleavedBuffer.h"
#include "qel/buffers/QelTightlyPackedBuffer.h"

// text
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelPolygonText.h"
#include "qel/text/QelTextObject.h"
#include "qel/text/QelTextureText.h"

// materials
#include "qel/materials/QelImage.h"
#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelMaterialInterface.h"
#include "qel/materials/QelTexture.h"
#include "qel/materials/QelTextureLayer.h"

// models
#include "qel/models/C3dsLoader.h"
#include "qel/models/CColladaLoader.h"
#include "qel/models/CDxfLoader.h"
#include "qel/models/CObjLoader.h"
#include "qel/models/CShpLoader.h"
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModel.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "qel/models/QelModelMaterial.h"
#include "qel/models/QelModelMesh.h"
#include "qel/models/QelModelNode.h"

// util
#include "qel/util/QelFileFinder.h"
#include "qel/util/QelPath.h"
#include "qel/util/QelTextScanner.h"
#include "qel/util/QelUnitConverter.h"
