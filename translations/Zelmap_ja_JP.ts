<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
    <context>
        <name>Body</name>
        <message>
            <source>Load image files (several at once)</source>
            <translation>画像ファイルを読み込む（複数可）</translation>
        </message>
        <message>
            <source>Load</source>
            <translation>読込</translation>
        </message>
        <message>
            <source>Save the S1 image, or every image ticked A, as 2dData files</source>
            <translation>S1 の画像、または A に印を付けたすべての画像を 2dData ファイルとして保存</translation>
        </message>
        <message>
            <source>Save</source>
            <translation>保存</translation>
        </message>
        <message>
            <source>Single(S1)</source>
            <translation>単一(S1)</translation>
        </message>
        <message>
            <source>Selected(A)</source>
            <translation>選択(A)</translation>
        </message>
        <message>
            <source>Show Img Base</source>
            <translation>画像ベースを表示</translation>
        </message>
        <message>
            <source>Show the images as tabs of one window</source>
            <translation>画像を一つのウィンドウのタブとして表示</translation>
        </message>
        <message>
            <source>in Tab</source>
            <translation>タブ内</translation>
        </message>
        <message>
            <source>Show new images in grey</source>
            <translation>新しい画像をグレーで表示</translation>
        </message>
        <message>
            <source>Grey</source>
            <translation>グレー</translation>
        </message>
        <message>
            <source>Calc</source>
            <translation>演算</translation>
        </message>
        <message>
            <source>Copy</source>
            <translation>コピー</translation>
        </message>
        <message>
            <source>Composite (first 3 of Target A)</source>
            <translation>合成（ターゲット A の最初の 3 枚）</translation>
        </message>
        <message>
            <source>Filter</source>
            <translation>フィルタ</translation>
        </message>
        <message>
            <source>LCF A.</source>
            <translation>LCF 解析</translation>
        </message>
        <message>
            <source>Working at Line:</source>
            <translation>処理中の行:</translation>
        </message>
        <message>
            <source>Elapsed Time</source>
            <translation>経過時間</translation>
        </message>
        <message>
            <source>Load image files</source>
            <translation>画像ファイルの読込</translation>
        </message>
        <message>
            <source>2D Data File (*.zmp)</source>
            <translation>2D データファイル (*.zmp)</translation>
        </message>
        <message>
            <source>Any (* *.*)</source>
            <translation>すべて (* *.*)</translation>
        </message>
        <message>
            <source>Img File (*.png *.jpg)</source>
            <translation>画像ファイル (*.png *.jpg)</translation>
        </message>
        <message>
            <source>Cannot load %1: %2</source>
            <translation>%1 を読み込めません: %2</translation>
        </message>
        <message>
            <source>Loaded %1</source>
            <translation>%1 を読み込みました</translation>
        </message>
        <message>
            <source>Could not save %1</source>
            <translation>%1 を保存できませんでした</translation>
        </message>
        <message>
            <source>Saved %1</source>
            <translation>%1 を保存しました</translation>
        </message>
        <message>
            <source>Nothing saved: no image is chosen as S1</source>
            <translation>保存しませんでした: S1 に選ばれた画像がありません</translation>
        </message>
        <message numerus="yes">
            <source>Saved %n file(s)</source>
            <translation>
                <numerusform>%n 個のファイルを保存しました</numerusform>
            </translation>
        </message>
    </context>
    <context>
        <name>CalcCtrl</name>
        <message>
            <source>Calc. Ctrl</source>
            <translation>演算コントロール</translation>
        </message>
        <message>
            <source>Numerator(s)</source>
            <translation>分子</translation>
        </message>
        <message>
            <source>Sel. by A</source>
            <translation>A で選択</translation>
        </message>
        <message>
            <source>Denominator(s)</source>
            <translation>分母</translation>
        </message>
        <message>
            <source>Sel. by B</source>
            <translation>B で選択</translation>
        </message>
        <message>
            <source>Neg.</source>
            <translation>符号反転</translation>
        </message>
        <message>
            <source>Log</source>
            <translation>対数</translation>
        </message>
        <message>
            <source>Gen</source>
            <translation>生成</translation>
        </message>
    </context>
    <context>
        <name>CompositeCtrl</name>
        <message>
            <source>Composite Ctrl</source>
            <translation>合成コントロール</translation>
        </message>
        <message>
            <source>Image</source>
            <translation>画像</translation>
        </message>
        <message>
            <source>Low</source>
            <translation>下限</translation>
        </message>
        <message>
            <source>High</source>
            <translation>上限</translation>
        </message>
        <message>
            <source>R</source>
            <translation>R</translation>
        </message>
        <message>
            <source>G</source>
            <translation>G</translation>
        </message>
        <message>
            <source>B</source>
            <translation>B</translation>
        </message>
        <message>
            <source>Reset Ranges</source>
            <translation>範囲をリセット</translation>
        </message>
        <message>
            <source>Save...</source>
            <translation>保存...</translation>
        </message>
        <message>
            <source>Save composite picture</source>
            <translation>合成画像を保存</translation>
        </message>
        <message>
            <source>PNG Image (*.png)</source>
            <translation>PNG 画像 (*.png)</translation>
        </message>
        <message>
            <source>JPEG Image (*.jpg *.jpeg)</source>
            <translation>JPEG 画像 (*.jpg *.jpeg)</translation>
        </message>
        <message>
            <source>(black)</source>
            <translation>（黒）</translation>
        </message>
    </context>
    <context>
        <name>DataCtrl</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>表示</translation>
        </message>
        <message>
            <source>Target A</source>
            <translation>ターゲット A</translation>
        </message>
        <message>
            <source>A</source>
            <translation>A</translation>
        </message>
        <message>
            <source>Second operand S2</source>
            <translation>第二オペランド S2</translation>
        </message>
        <message>
            <source>S2</source>
            <translation>S2</translation>
        </message>
        <message>
            <source>Remove this image from the list</source>
            <translation>この画像を一覧から削除</translation>
        </message>
        <message>
            <source>Del</source>
            <translation>削除</translation>
        </message>
        <message>
            <source>First operand S1</source>
            <translation>第一オペランド S1</translation>
        </message>
        <message>
            <source>S1</source>
            <translation>S1</translation>
        </message>
        <message>
            <source>Target B</source>
            <translation>ターゲット B</translation>
        </message>
        <message>
            <source>B</source>
            <translation>B</translation>
        </message>
        <message>
            <source>Statistics of this image</source>
            <translation>この画像の統計</translation>
        </message>
        <message>
            <source>Statistics: %1</source>
            <translation>統計: %1</translation>
        </message>
        <message>
            <source>Size: %1 x %2
Min / max with zeros: %3 / %4
Min / max without zeros: %5 / %6
Display range: %7 to %8
Valid pixels: %9 of %10
Mean of valid pixels: %11
Standard deviation: %12</source>
            <translation>サイズ: %1 x %2
最小 / 最大（ゼロを含む）: %3 / %4
最小 / 最大（ゼロを除く）: %5 / %6
表示範囲: %7 ～ %8
有効ピクセル: %10 中 %9
有効ピクセルの平均: %11
標準偏差: %12</translation>
        </message>
    </context>
    <context>
        <name>ImageCalc</name>
        <message>
            <source>Cl[%1]</source>
            <translation>Cl[%1]</translation>
        </message>
    </context>
    <context>
        <name>ImgBase</name>
        <message>
            <source>Zelmap Image Base</source>
            <translation>Zelmap 画像ベース</translation>
        </message>
        <message>
            <source>Tab 1</source>
            <translation>タブ 1</translation>
        </message>
        <message>
            <source>Tab 2</source>
            <translation>タブ 2</translation>
        </message>
    </context>
    <context>
        <name>ImgDisp</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Add</source>
            <translation>追加</translation>
        </message>
        <message>
            <source>Del</source>
            <translation>削除</translation>
        </message>
        <message>
            <source>Grey</source>
            <translation>グレー</translation>
        </message>
        <message>
            <source>Scale Reset</source>
            <translation>表示リセット</translation>
        </message>
    </context>
    <context>
        <name>MatchingF</name>
        <message>
            <source>%1: PM</source>
            <translation>%1: PM</translation>
        </message>
    </context>
</TS>
