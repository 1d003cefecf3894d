#pragma once
// Range (class-break) theme: ordered break values cut a numeric expression into consecutive
// ranges, each with its own item; classifications fill the breaks from the data.
#include <vector>

#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class KrClassStatistics;
class KrRecordset;
class KrStyle;

/// Classification that made a range theme's breaks
enum KrClass3DType : int {
    Class3DEqualDistance = 0,  ///< classes of equal width
    Class3DExtraction = 1,     ///< classes of equal width on the square roots
    Class3DStdev = 2,          ///< breaks at standard deviations around the mean
    Class3DLogarithm = 3,      ///< classes of equal width on the decimal logarithms
    Class3DQuantile = 4,       ///< classes holding equal numbers of values
    Class3DCustomInterval = 5, ///< classes of a given width
};

/// Range theme (type code 2): ordered break values cut a numeric expression into ranges, each with its item
class TR_THEME3D_API KrTheme3DRange : public KrTheme3DStyle {
public:
    /// Largest number of fixed-width classes; a wider data range gets the single break min
    static constexpr int kMaxClasses = 32767;
    /// Largest class count the count-based classifications make. Far above any map's use, it
    /// only keeps a count typed by mistake from allocating items past memory (each class holds
    /// one); a count above it is held to it and logged ("T3DRange001", level 300).
    static constexpr int kMaxClassCount = 1 << 20;

    /// An empty theme, and deep copies (items duplicated)
    ///@{
    KrTheme3DRange();
    KrTheme3DRange(const KrTheme3DRange& other);
    KrTheme3DRange& operator=(const KrTheme3DRange& other);
    ///@}
    /// Deletes the items
    ~KrTheme3DRange() override;

    /// Style of the range a value falls in; null outside every range or for an invisible range
    KrStyle* FindStyle(const BSX::BsxVariant& value) const override;
    using KrTheme3DStyle::FindStyle;
    /// Style of the range a number falls in, by the same rule
    KrStyle* FindStyle(double value) const;
    /// Modelling flag of the value's range; true when no visible range takes the value
    bool IsModellingStyleEnabled(const BSX::BsxVariant& value) const override;
    /// "Theme3DRange" with the alias suffix; with alias, "<expression> as Theme3DRange<suffix>"
    BSX::BsxUnicodeString GetFieldName(bool alias) const override;
    /// The expression as set
    BSX::BsxUnicodeString GetExpression() const override;
    /// Field types 2, 3, 4, 6, 7 and 16 can drive the theme
    bool CheckFieldType(int fieldType) override;
    /// The theme with its expression, method and one record per range, or the empty text
    BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const override;
    /// Replaces breaks and items from a document; false for an empty text, an unreadable base or another kind
    bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path) override;
    /// Number of breaks
    virtual int GetValueCount() const;
    /// Recordsets are not classified by this theme: always false
    virtual bool FindStyle(KrRecordset* recordset, KrStyle& style) const;

    /// Building the breaks, each with a copy of item; Add answers the item count afterwards
    ///@{
    int Add(double value, const KrTheme3DItem& item);
    bool InsertAt(int index, double value, const KrTheme3DItem& item);
    void SetValueAt(int index, double value);
    ///@}
    /// Empties the theme, classifies the ascending values by method and records the method;
    /// false (nothing changed) for fewer than 2 classes or values
    bool MakeDefault(int method, int count, const BSX::BsxArray<double>& values, BSX::BsxArray<double> quantileBreaks,
                     double interval);
    /// Quantile breaks of ascending values for count classes: break k is the value at position
    /// floor(k * m / count), the first value of class k; empty for fewer than 2 classes or values
    static BSX::BsxArray<double> QuantileBreaks(const BSX::BsxArray<double>& values, int count);
    /// The same classification from the statistics of data gathered in pieces: the methods that
    /// need only the extremes, mean and spread (all but 4, which takes its breaks as given)
    /// give the breaks of the whole data; false as above for fewer than 2 values
    bool MakeDefault(int method, int count, const KrClassStatistics& statistics,
                     BSX::BsxArray<double> quantileBreaks, double interval);

    /// Removing; RemoveAt answers the number of breaks removed
    ///@{
    int RemoveAt(int index, int count);
    void RemoveAll();
    ///@}

    /// Index of the first break equal to value within the tolerance, -1 when none
    int Find(double value) const;

    /// Indexed access to breaks and items (the array's bound check applies)
    ///@{
    int GetCount() const;
    double GetValueAt(int index) const;
    KrTheme3DItem* GetAt(int index) const;
    BSX::BsxUnicodeString GetCaptionAt(int index) const;
    const KrStyle& GetStyleAt(int index) const;
    bool IsVisibleAt(int index) const;
    void SetAt(int index, const KrTheme3DItem& item);
    void SetCaptionAt(int index, BSX::BsxUnicodeString caption);
    void SetStyleAt(int index, const KrStyle& style);
    void SetVisibleAt(int index, bool visible);
    ///@}

    /// Sets the expression, which is also the theme's one field expression
    void SetExpression(const BSX::BsxUnicodeString& expression);
    /// Classification that made the breaks
    KrClass3DType GetClassType() const;
    /// Whether the breaks run downwards
    bool IsDescending() const;
    /// At least one value
    bool IsValidValueCount(int count) const;

protected:
    /// Copies everything from other, items as new objects (other is unchanged)
    void Swap(const KrTheme3DRange& other);
    /// Deletes items index .. index+count-1; the breaks stay
    bool RemoveTheme3DItems(int index, int count);
    /// Deletes every item; the caller empties the list
    void Release();
    /// Item of the value's range, null when there is none or it is invisible
    KrTheme3DItem* FindThemeItem(const BSX::BsxVariant& value) const;

    /// Classifiers: they only add breaks (each with a default item) and never clear the theme
    ///@{
    void ClassifyWithEqualDistance(int count, double max, double min);
    void ClassifyWithEqualDistanceNew(int count, double max, double min);
    void ClassifyWithExtraction(int count, double max, double min);
    void ClassifyWithExtractionNew(int count, double max, double min);
    void ClassifyWithLogarithm(int count, double max, double min);
    void ClassifyWithLogarithmNew(int count, double max, double min);
    void ClassifyWithCustomInterval(double interval, double max, double min);
    void ClassifyWithCustomIntervalNew(double interval, double max, double min);
    ///@}
    /// Adds the given quantile breaks for count classes of valueCount values
    void ClassifyWithQuantileNew(int count, int valueCount, BSX::BsxArray<double> breaks);
    /// Adds breaks one standard deviation apart, centred half a deviation either side of the mean
    void ClassifyWithStdev(const BSX::BsxArray<double>& values);
    /// The standard-deviation walk from the data's mean, spread and extremes
    void ClassifyAroundMean(double mean, double sigma, double min, double max);
    /// Mean and population standard deviation
    void Stdev(const BSX::BsxArray<double>& values, double& mean, double& stdev) const;

    /// State: expression and its fields, direction, breaks, one owned item per break, method
    ///@{
    BSX::BsxUnicodeString Expression;
    BSX::BsxArray<BSX::BsxUnicodeString> FieldExpressions;
    bool Descending = false;
    BSX::BsxArray<double> Values;
    BSX::BsxArray<KrTheme3DItem*> Items;
    KrClass3DType ClassType = Class3DEqualDistance;
    ///@}

private:
    /// Whether the breaks run up / down (equal neighbours allowed, no NaN); kept up to date by
    /// the editing operations so that lookups can search instead of walking
    struct BreakOrder {
        bool known = true;
        bool ascending = true;
        bool descending = true;
    };
    const BreakOrder& Order() const;
    void NoteInserted(int position);
    void NoteChanged(int position);
    void NoteRemoved();

    /// Range index of value; GetCount() or more when no range takes it
    int RangeIndex(double value) const;
    /// A variant as a number through the external-value mode; false (logged) when it has none
    bool ValueOf(const BSX::BsxVariant& value, double& number, int line) const;
    /// Appends a classification break; breaks that are not finite numbers bound no range and
    /// are left out
    void AddBreak(double value, const KrTheme3DItem& item);
    /// Appends the breaks of a classifier's walk in their order, each with a default item
    void AddBreaks(const std::vector<double>& breaks);
    BSX::BsxUnicodeString RangeText(int index) const;

    mutable BreakOrder m_order;
};

} // namespace KRN
