#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/detail/QelCodeBlock.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

class MTFunctionI;
class MTOperatorI;
class MTVariableI;

/// Codes of the operations a compiled program runs inline. Built-in operator and function classes
/// carry one; everything else goes through the generic call codes.
enum EMTOpCode
{
    // Binary operators
    eMTAdd, eMTSub, eMTMul, eMTDiv, eMTPow, eMTMod,
    eMTGreater, eMTLess, eMTGreaterEqual, eMTLessEqual, eMTNotEqual, eMTEqual, eMTAnd, eMTOr,
    // Unary operators
    eMTNeg, eMTNot,
    // Functions of one argument
    eMTSin, eMTAsin, eMTSinh, eMTCos, eMTAcos, eMTCosh, eMTTan, eMTTanh, eMTAtan, eMTSqrt, eMTAbs,
    eMTLn, eMTLog, eMTExp, eMTSigmoid, eMTCeil, eMTFloor, eMTFact, eMTRadToDeg, eMTDegToRad,
    // Functions of zero, two and three arguments
    eMTRand, eMTRandMinMax, eMTMin2, eMTMax2,
    eMTMin3, eMTMax3, eMTNorm, eMTNormClamp, eMTClamp, eMTInterp, eMTIfElse,
    // Set functions: compiled into chains of the codes above, never run themselves
    eMTMinN, eMTMaxN, eMTAvg, eMTSum,
    // Generic calls
    eMTCallFunction, eMTCallOperator, eMTLoadVariable,
    // Fused forms made by the compiler for frequent shapes
    eMTMulAdd, eMTSquare, eMTSquareAdd, eMTSumSquares,
    eMTOpCodeCount
};

/// One step of a compiled program: reads up to three doubles through pointers, writes one.
/// A generic call names its object in pExtra and reads nArgs arguments through ppArgs into pScratch.
struct MTInstruction
{
    std::uint32_t nOp;           ///< The EMTOpCode to run.
    std::uint32_t nArgs;         ///< Argument count of a generic call; unused otherwise.
    double* pDst;                ///< Where the result goes.
    const double* pA;            ///< First operand.
    const double* pB;            ///< Second operand, when the operation takes one.
    const double* pC;            ///< Third operand, when the operation takes one.
    void* pExtra;                ///< The function, operator or variable object of a generic call.
    const double* const* ppArgs; ///< Argument addresses of a generic call.
    double* pScratch;            ///< Room the call copies its arguments into.
};

struct MTNode;
typedef double (*MTNodeFn)(const MTNode*);

/// An operand of a node: a value read through a pointer, a child node, or a constant kept in place.
/// Which one is encoded in the node's function, so nothing is tested while evaluating.
union MTNodeOperand
{
    const double* pLeaf;  ///< A variable or temporary read through its address.
    const MTNode* pChild; ///< A sub-tree evaluated first.
    double fConst;        ///< A constant stored in the node.
};

/// A node of the tree form.
struct MTNode
{
    MTNodeFn pfnEval;      ///< Computes the node from its operands; also says what kind each operand is.
    MTNodeOperand cArg[3]; ///< Up to three operands.
};

/// A compiled expression: a flat list of instructions over a fixed set of temporaries; when the
/// expression is shallow and uses built-in operations only, the same as a tree of specialised nodes
/// whose values pass in registers; and, for built-in operations where the platform allows, the same
/// as native code. The fastest form present is what runs. Evaluating allocates nothing and never
/// recurses deeper than a fixed limit; the program reads its variables through pointers.
class QEL_EXPORT MTParserProgram
{
public:
    MTParserProgram();
    MTParserProgram(const MTParserProgram&) = delete;
    MTParserProgram& operator=(const MTParserProgram&) = delete;
    ~MTParserProgram();

    /// The expression's value; 0.0 for a program that was never compiled.
    double Evaluate();
    /// The value as the tree or the flat list computes it, never the native code.
    double EvaluateInterpreted();
    /// The function and argument that compute the value in one call (native code or the tree's
    /// root); false when only the flat list can.
    bool GetDirectEvaluation(MTNodeFn& pfnEval, const MTNode*& pArg) const;
    /// True when the program runs as native code.
    bool HasNativeCode() const { return m_pfnNative != nullptr; }
    /// True when this platform lets compiled programs run as native code at all.
    static bool IsNativeCodeSupported();

    /// True once a compilation succeeded.
    bool IsCompiled() const { return m_bCompiled; }
    /// True when the whole expression was folded to one value at compile time.
    bool IsConstant() const { return m_bCompiled && m_vecCode.empty() && m_bResultIsConstant; }
    /// The flat list, for tests and tools that inspect what the compiler made.
    ///@{
    size_t GetNbInstructions() const { return m_vecCode.size(); }
    const MTInstruction* GetCode() const { return m_vecCode.data(); }
    ///@}
    /// The root of the tree form, or null when the flat list runs.
    const MTNode* GetRoot() const { return m_pRoot; }
    /// Where the last instruction leaves the value (or the folded constant, or a variable).
    const double* GetResult() const { return m_pResult; }
    /// Every variable the expression reads, once each, in order of first use.
    const std::vector<MTVariableI*>& GetVariables() const { return m_vecVariables; }

    /// Forgets the compiled forms; Evaluate then answers 0.0 until the next compilation.
    void Clear();

    /// Runs one instruction; the compiler folds constants through the same code.
    static void Execute(const MTInstruction& cInstr);

    /// Deepest tree the evaluation may recurse through; deeper programs run flat.
    static const unsigned int kMaxTreeDepth = 200;

private:
    friend class MTParserCompiler;
    friend class MTCompilation;

    /// Makes the tree form from the finished instruction list, when it qualifies.
    void BuildTree();
    /// Translates the finished instruction list into native code, when it qualifies.
    void BuildNative();
    void FuseProduct(MTNode& cNode, unsigned int& nOp, unsigned int& nMask, const size_t* pChild,
                     const std::vector<unsigned int>& vecOp, const std::vector<unsigned int>& vecMask,
                     const std::vector<bool>& vecPure);
    /// Marks a node that applies a function to an operation it absorbed; it fuses with nothing more.
    static const unsigned int kComposedCode = 0xFFFF;

    std::vector<MTInstruction> m_vecCode;
    // Deques, because instructions point into them while the program is still growing.
    std::deque<double> m_deqTemps;
    std::deque<double> m_deqConstants;
    // Argument lists of generic calls; moving the outer vector keeps each list where it is.
    std::vector<std::vector<const double*>> m_vecCallArgs;
    std::vector<std::vector<double>> m_vecCallScratch;
    std::vector<MTVariableI*> m_vecVariables;
    std::vector<MTNode> m_vecNodes;
    const MTNode* m_pRoot = nullptr;
    QelCodeBlock m_cNative;
    MTNodeFn m_pfnNative = nullptr;
    double m_fZero = 0.0;
    const double* m_pResult;
    bool m_bCompiled = false;
    bool m_bResultIsConstant = false;
};
